if true { keep; } elsif false { discard; } else { stop; }
