# cmake -DOUT=FILE.cpp -DNAME=FUNCTION -DPAGE=X.html -DSTYLE=X.css -DSCRIPT=X.js -P embed.cmake: a C++ file with the page
# as a string, its style and script put in.
file(READ ${PAGE} page)
foreach(part STYLE SCRIPT)
  file(READ ${${part}} text)
  string(REPLACE "@${part}@" "${text}" page "${page}")
endforeach()
# Pieces, since a compiler may refuse a long string literal.
string(LENGTH "${page}" length)
set(pieces "")
set(at 0)
while(at LESS length)
  string(SUBSTRING "${page}" ${at} 8000 piece)
  string(APPEND pieces "    R\"vellpage(${piece})vellpage\"\n")
  math(EXPR at "${at} + 8000")
endwhile()
file(WRITE ${OUT} "#include \"vell/report/pages.h\"\n\nnamespace vell::report {\n
std::string_view ${NAME}() {\n  return\n${pieces}  ;\n}\n\n}  // namespace vell::report\n")
