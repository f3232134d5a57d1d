#redirect "f s€€€‚€€;}p€ 
 discar2 { keep;µ }
if s€p;? did; } p\q'g";
reject "multi
lul\\fileinto "a\"b  keep;
}
#!0fileinto Off
# ifc\ hea\q'g";nd\re\tf
if tr
u