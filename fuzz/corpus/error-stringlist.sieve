if exists [] { keep; }
