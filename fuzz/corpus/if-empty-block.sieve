if true { }
