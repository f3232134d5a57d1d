keep; } discard;
