#!1 __WebmailJunk__
if allof (spamtest , not address :all :is :iscontact "From" ["a", "b"] ) 
{
  fileinto "Junk E-Mail";
  stop;
}
