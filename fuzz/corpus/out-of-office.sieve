#!1 __WebmailAutoreply__
if true 
{
  vacation :days 7 :rangeEnabled 1 :rangeStart 1447369200 :rangeEnd 1447455600 :externalMessageEnabled 1 :externalMessageSubject "Away" :externalMessageBody "Back on Monday" :externalMessageKnownContactsOnly 0 "I am on leave";
}
