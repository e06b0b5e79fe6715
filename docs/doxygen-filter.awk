# Input filter for Doxygen: our headers are commented with plain "//" lines,
# which Doxygen would ignore. This turns them into documentation as the
# reader of the header sees them:
#   - the opening paragraph of a header (the comment lines before the first
#     code line) becomes the file's description;
#   - every other "//" line becomes "///", documenting what follows it;
#   - a "// comment" after code on the same line documents that member;
#   - "#" and "<" in a comment are escaped outside `code`, as Doxygen would
#     read "#name" as a link and "<tag>" as markup;
#   - section lines ("// ---- reading") stay plain comments;
#   - the whole file joins the group of its subsystem folder, so that each
#     subsystem page lists its classes.
# The file's path is the last argument; `group` is set by make-docs.sh.
BEGIN { head = 1; opened = 0 }
function escape(text,    out, i, c, code) {
  out = ""; code = 0
  for (i = 1; i <= length(text); i++) {
    c = substr(text, i, 1)
    if (c == "`") code = !code
    else if (!code && (c == "#" || c == "<")) c = "\\" c
    out = out c
  }
  return out
}
function open_group() {
  if (!opened && group != "") { print "/** \\addtogroup " group; print " *  @{"; print " */"; opened = 1 }
}
{
  line = $0
  if (head) {
    if (line ~ /^\/\/ ?/) {
      sub(/^\/\/ ?/, "", line)
      line = escape(line)
      if (!started) { print "/** \\file"; started = 1 }
      print " * " line
      next
    }
    if (started) print " */"
    head = 0
    if (line ~ /^#pragma once/) { print line; open_group(); next }
    open_group()
  }
  if (line ~ /^[ \t]*\/\/ ----/) { print line; next }
  if (line ~ /^[ \t]*\/\/[^\/]/ || line ~ /^[ \t]*\/\/$/) {
    sub(/\/\//, "///", line)
    line = escape(line)
    print line
    next
  }
  if (line ~ /[;{,][ \t]+\/\/ / && line !~ /"/) { sub(/[ \t]+\/\/ /, " ///< ", line) }
  print line
}
END {
  if (head && started) print " */"
  if (opened) print "/** @} */"
}
