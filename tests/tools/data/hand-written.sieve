if anyof (header :contains "subject" "invoice", address :is "from" "billing@example.com") { # bills
    fileinto "Bills"; redirect "a@example.com"; keep; redirect "b@example.com, c@example.com";
}
/* a block
   comment */
if size :over 1M { discard; stop; }
