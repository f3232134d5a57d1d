#!1 __WebmailJunk__
if allof (spamtest , not address :all :is :iscontact "From" ["a", "b"] ) 
{
  fileinto "Junk E-Mail";
  stop;
}
#!1 __WebmailAutoreply__
if true 
{
  vacation :days 7 :rangeEnabled 1 :rangeStart 1447369200 :rangeEnd 1447455600 :externalMessageEnabled 1 :externalMessageSubject "Away" :externalMessageBody "Back on Monday" :externalMessageKnownContactsOnly 0 "I am on leave";
}
#!1 From Bob
if allof (address :all :is "From" "bob" , header :contains "Subject" ["urgent", "asap"] ) 
{
  fileinto "Work/Bob";
  stop;
}
#!0 From Bob
# if allof (address :all :is "From" "bob" , header :contains "Subject" ["urgent", "asap"] ) 
# {
#   fileinto "Work/Bob";
#   stop;
# }
