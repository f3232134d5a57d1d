# a comment
keep; # trailing comment
/* block
 comment */ stop;
