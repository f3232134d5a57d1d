if true { if false { if true { keep; } } stop; }
