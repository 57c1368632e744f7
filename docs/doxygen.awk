# Doxygen's input filter: the headers' plain comments become documentation comments, line by line.
#
# A comment before a declaration documents it and those that follow without an empty line and a comment of their own; an
# override takes over what it overrides. A comment after a declaration, on its line, documents that one. The comment under #pragma once, with an empty line after
# it, documents the file. Titles ("---- gates.cpp ----"), other comments that stand alone, and what stands inside a
# function are left out. What would be markup is escaped.

function escape(text) {
  gsub(/[<>#@&\\]/, "\\\\&", text)
  return text
}
# Ends a block of comments: as documentation, or as empty lines.
function flush_block(documents,   i, text) {
  if (lines > 0) shared = ""
  for (i = 1; i <= lines; ++i)
    if (documents && block[i] !~ /^ *\/\/ ----/) {
      match(block[i], /\/\//)
      text = escape(substr(block[i], RSTART + 2))
      print substr(block[i], 1, RSTART - 1) "///" text
      shared = shared text
    } else
      print ""
  lines = 0
}
# Depth of function bodies; the braces of classes, enumerations and namespaces do not count.
function count_braces(code,   i, c) {
  for (i = 1; i <= length(code); ++i) {
    c = substr(code, i, 1)
    if (c == "{") {
      if (body > 0 || code !~ /(^|[^a-z_])(class|struct|namespace|enum|union|extern)[^a-z_]/) ++body
    } else if (c == "}" && body > 0)
      --body
  }
}

/^#pragma once/ { print; head = 1; next }
head == 1 && /^$/ { head = 2; next }
head == 2 {
  if (/^\/\//) { block[++lines] = $0; next }
  head = 0
  if (lines > 0 && (/^$/ || /^#/)) { print "/// \\file"; flush_block(1); shared = "" }
  else print ""
}
/^ *\/\// && body == 0 { block[++lines] = $0; next }
/^#(if|else|endif|pragma)/ { print; next }
{
  documented = lines > 0
  declares = /[^ ]/ && !/^ *}/ && !/^#include/ && !/^ *(public|private|protected):/
  flush_block(declares)
  code = $0
  comment = ""
  if (match(code, /  +\/\/ /)) {
    comment = substr(code, RSTART + RLENGTH)
    code = substr(code, 1, RSTART - 1)
  }
  outside = body == 0
  count_braces(code)
  if (!declares && outside) shared = ""
  if (comment != "" && outside && body == 0 && code !~ /^ *}/) print code "  ///< " escape(comment)
  else if (!documented && declares && outside && ended && shared != "" && code !~ / override;/) print "/**" shared " */ " code
  else print code
  ended = body == 0 && code ~ /[;}]$/
}
END { flush_block(0) }
