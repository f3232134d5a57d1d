keep;
