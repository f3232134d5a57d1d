if size :between 1 { keep; }
if address :bogus "a" "b" { keep; }
