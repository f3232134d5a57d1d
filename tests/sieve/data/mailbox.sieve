#!1 __WebmailJunk__
if allof (spamtest , not address :all :is :iscontact "From" ["alice@example.com", "bob@example.net"] ) 
{
  fileinto "Junk E-Mail";
  stop;
}
#!0 __WebmailAutoreply__
# if true 
# {
#   vacation :subject "Out of office" :days 7 "I am on leave.\r\nBack on Monday.";
# }
#!1 From Bob
if allof (address :all :is "From" "bob" , header :contains "Subject" ["urgent", "asap"] ) 
{
  fileinto "Work/Bob";
  stop;
}
#!0 Big mail
# if size :over 1048576
# {
#   reject "Too big, \"sorry\"";
# }
#!1 Forward boss
if anyof (address :domain :matches ["To", "Cc"] "*.example.org" , not exists "X-Spam" ) 
{
  redirect "boss@example.com";
  notify :options "sms" :message "New mail";
  setreadflag;
}
if header :is "X-Priority" "1" 
{
  keep;
}
