#!1 __WebmailJunk__
if allof (spamtest , not address :all :is :iscontact "From" "friend@example.com" ) 
{
  fileinto "Junk E-Mail";
  stop;
}
#!0 Too big
# if size :over 5242880
# {
#   reject "Too big";
# }
#!1 Lists
if anyof (header :contains "List-Id" "dev.example.org" , exists "X-Mailing-List" ) 
{
  fileinto "Lists/Développement";
  redirect "archive@example.com";
  redirect "backup@example.com";
  notify :message "New list mail";
}
if address :domain :is "From" "example.net" 
{
  setreadflag;
  keep;
}
#!1 Away
if true 
{
  vacation :subject "Away" :days 7 "Back soon";
}
