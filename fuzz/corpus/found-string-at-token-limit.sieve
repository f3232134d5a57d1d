fileinto "a\"b\\c\nd\re\tnd\rtruee\tftrue 
{
  kc\nd\re\tnd\re\tf
if true 
{
  keep;
}eep;
}d\re\tfCue c\nd\re\tnd\re\t?
if true 
{
  keep;
a\"b\\c\nd\re\tnd\rtruee\tf
if true 
{
  kc\ndxxxxxxxxxxxxxxxxxxxxxxxx\re\tnd\re\tf
if true 
{
  keep;
}eep;
}d\re\tfCue c\nd\re\tnd\re\t?
if true 
{
  keep;
}d\re\tfCue 
{
  keep;
}d
{
  keep;
}dnotif																																		y\re\tfC.UTF
anyo}d\r true {  size :under 0 { # ep; }
if size :under 429496767296 { keep;if true { if false { if true {#{ if sizee #!1 { if true {  size :under 0 { # ep; }
if size :under 429496767296 { keep;if true { if false { if true {#
if size :under 0 { # ep; }
if size :over 4294967296 { keep;if true { if false { if true {#
if size :under 0 { # ep; f size :over 4294967296 { keep;if true { if false { if true {#
if size :under 0 { # ep; }
if size :under 429496767296 { keep;if true { if false { if true {#
if size :under 0 { # ep; }
if size :over 4294967296 { keep;if true { if false { if true {#
if size :under 0 { # ep; }
if size :under 4294 { if true {#{ if sizee #!1 { if true {  size :under 0 { # ep; }
if size :under 429496767296 { keep;if true { if false { if true {#
if size :under 0 { # ep; }
if size :over 4294967296 { keep;if true { if false { if true {#
if size :under 0 { # ep; f size :over ep; }
if size :over 4294967296 { keep;if true { if false { if true {#
if size :under 0 { # ep; }
if size :under 4294 { if true {#{ if sizee #!1 { if t{ # ep; }
if size :under 429496767296 { keep;if true { if false { if true {#
if size :under 0 { # ep; }
if size :over 4294e\tfCue 
{
  keep;
}d
{
  keep;
}dnotif																													\c\nd\re\tnd\rtruee\tf
if true 
{
  kc\nd\re\tnd\re\tf
if true 
{
  keep;
}eep;
}d\re\tfCue c\nd\re\tnd\re\t?
if true 
{
  keep;
a\"b\\c\nd\re\tnd\rtruee\tf
if true 
{
  kc\nd\re\tnd\re\tf
if true 
{
  keep;
}eep;
}d\re\tfCue c\nd\re\tnd\re\t?
if true 
{
  keep;
}d\re\tfCue 
{
  keep;
}d
{
  keep;
}dnotif	í																																y\re\tfC.UTF
anyo}d\re\tfCue 
{
  keep;
}d
{
  keep;
}dnotif																																		y\re\tfC.UTF
anyo					y\re\tfC.UTF
anyo
line";
