keep;
discard;
stop;
setreadflag;
reject "Go away";
fileinto "Work/Bob";
redirect "a@example.com";
