/* Mail rules of J. Doe, kept by hand. A plain # comment may not come first:
   before the first live token it would be read as commented-out code. */
#!1 __WebmailJunk__
if allof (spamtest, not address :is :all :iscontact "From" ["friend@example.com"]) {
    fileinto "Junk E-Mail"; stop;
}
# the next rule is off for now
#!0 Too big
# if size :over 5M { reject "Too big"; }
#!1 Lists
if anyof (header :comparator "i;octet" :contains "List-Id" "dev.example.org",
          not not exists "X-Mailing-List") {
  fileinto "Lists/Développement";
  redirect "archive@example.com, backup@example.com";
  notify :method "mail" :message "New list mail";
}
if address :domain :is "From" "example.net" { setreadflag; keep; } else { discard; }
#!1 Away
if true { vacation :subject "Away" "Back soon"; }
