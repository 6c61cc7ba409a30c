# Writes the document of the demo: several megabytes of PostScript pages with text and curves, always the same bytes.
function wave(page, step) { return 90 * sin(step * 0.0125 * (1 + page % 5)) * cos(step * 0.0007 * page) }
BEGIN {
  pages = 24; steps = 6000
  print "%!PS-Adobe-3.0"
  print "%%Title: A document that travels through kalclient.dll"
  print "%%BoundingBox: 0 0 595 842"
  print "%%Pages: " pages
  print "%%EndComments"
  for (page = 1; page <= pages; page++) {
    print "%%Page: " page " " page
    print "/Helvetica-Bold findfont 20 scalefont setfont 56 770 moveto (Page " page " of " pages ") show"
    print "/Helvetica findfont 11 scalefont setfont"
    for (line = 0; line < 14; line++) {
      printf "56 %d moveto (Line %d: the bytes of this page leave the application, pass KalWrite and OrxWritePrinter,) show\n", 740 - 15 * line, line + 1
    }
    print "0.4 setlinewidth newpath"
    for (step = 0; step < steps; step++) {
      printf "%.3f %.3f %s\n", 56 + step * 483 / steps, 300 + wave(page, step), step == 0 ? "moveto" : "lineto"
    }
    print "stroke"
    print "showpage"
  }
  print "%%EOF"
}
