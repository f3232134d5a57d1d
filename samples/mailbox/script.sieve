#!1 __WebmailJunk__
if allof (spamtest , not address :all :is :iscontact "From" ["newsletter@lists.example.org", "billing@utility.example.net"] ) 
{
  fileinto "Junk E-Mail";
  stop;
}
#!0 __WebmailAutoreply__
# if true 
# {
#   vacation :days 7 :rangeEnabled 1 :rangeStart 1735718400 :rangeEnd 1736323200 :externalMessageEnabled 1 :externalMessageSubject "Out of office" :externalMessageBody "I am away until 8 January. For urgent matters please call the front desk." :externalMessageKnownContactsOnly 0 "I am away until 8 January and will answer when I am back.\r\nUrgent questions: Tom Berger <tom.berger@example.com>.";
# }
#!1 Team reports
if address :all :is "From" ["reports@example.com", "ci@build.example.com"] 
{
  fileinto "INBOX/Reports";
  stop;
}
#!1 Invoices
if anyof (header :contains "Subject" ["invoice", "receipt", "payment reminder"] , address :domain :is "From" "billing.example.net" ) 
{
  fileinto "Finance/Invoices";
  setreadflag;
}
#!1 Boss to phone
if allof (address :all :is "From" "anna.keller@example.com" , header :is "X-Priority" "1" ) 
{
  redirect "jane.mobile@example.net";
  keep;
}
#!1 Mailing lists
if exists "List-Id" 
{
  fileinto "Lists";
}
#!0 Large attachments
# if size :over 10485760
# {
#   reject "Messages over 10 MB are not accepted; please send a link instead.";
# }
#!1 Drop calendar noise
if header :matches "Subject" "Accepted: *" 
{
  discard;
  stop;
}
#!1 Family
if address :localpart :is "To" "jane.family" 
{
  fileinto "Family";
}
