reject text:
line one
line two
.
;
