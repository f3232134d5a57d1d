#!1 Named
if true 
{
  keep;
}
#!0 Off
# if header :contains "Subject" "x" 
# {
#   discard;
# }
#!0
# stop;
