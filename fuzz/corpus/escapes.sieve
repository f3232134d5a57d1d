fileinto "a\"b\\c\nd\re\tf\q'g";
reject "multi
line";
