if size :over 4294967295 { keep; }
if size :under 0 { keep; }
if size :over 2g { keep; }
