if header :is :comparator "i;ascii-casemap" "Subject" "x" { keep; }
if header :matches "Content-Type" "multipart/*" { keep; }
if not not header :contains "subject" ["a", "b", "c"] { stop; }
