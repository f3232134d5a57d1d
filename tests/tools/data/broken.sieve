#!1 Newsletters
if header :contains "List-Id" "news"
{
  fileinto "News"
  stop;
}
