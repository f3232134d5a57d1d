# hand-written, as a user would
if anyof (header :contains "subject" "invoice", address :is "from" "billing@example.com") {
    fileinto "Bills"; redirect "a@example.com"; keep; redirect "b@example.com, c@example.com";
}
