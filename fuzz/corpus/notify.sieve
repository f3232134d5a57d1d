notify;
notify :method "mail" :options "bob@x" :message "hi $from$";
notify :message "";
