if anyof (header :contains "subject" "invoice" , address :all :is "from" "billing@example.com" ) 
{
  fileinto "Bills";
  redirect "a@example.com";
  redirect "b@example.com";
  redirect "c@example.com";
  keep;
}
if size :over 1048576
{
  discard;
  stop;
}
