notify;
notify :method "mail" :options "bob; }
if size :u@x" :message "hi $from$";
notify :message "";
