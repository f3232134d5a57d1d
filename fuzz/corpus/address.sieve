if address :localpart :matches :iscontact :comparator "i;octet" ["From", "Sender"] ["a*", "b?"] { keep; }
if address :domain :contains "To" "example.com" { keep; }
if address :all :is "Cc" "" { keep; }
