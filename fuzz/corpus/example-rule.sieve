#!1 From Bob
if allof (address :all :is "From" "bob" , header :contains "Subject" ["urgent", "asap"] ) 
{
  fileinto "Work/Bob";
  stop;
}
