# Shows a public header to Doxygen as people read it: a comment stands for all declarations from it to
# the next blank line, so these become a group. Special members, which do in each class what they do
# in every one, get a word each.
/^ *\/\/\/ / && !inComment { flush(); inComment = 1 }
/^ *$/ || /^ *(public|private|protected):/ || /^ *};/ { flush() }
{
  if (!/^ *\/\/\//) inComment = 0
  text[++count] = $0
}
END { flush() }

function flush(i, line, plain, depth, declarations, nests) {
  for (i = 1; i <= count; i++) {
    plain = text[i]
    sub(/ *\/\/.*/, "", plain)
    if (depth == 0 && plain ~ /^ *(template.*)?(class|struct|enum|namespace|union) [^;]*$/) nests = 1
    depth += gsub(/[{(]/, "&", plain) - gsub(/[})]/, "&", plain)
    if (depth == 0 && plain ~ /[;}]$/) declarations++
  }
  isGroup = text[1] ~ /^ *\/\/\/ / && declarations > 1 && !nests
  if (isGroup) print "///@{"
  for (i = 1; i <= count; i++) print isGroup || text[i] ~ /\/\// ? text[i] : text[i] special(text[i])
  if (isGroup) print "///@}"
  delete text
  count = 0
}

function special(line) {
  if (line ~ / bool operator==\(.*(default|noexcept);$/) return "  ///< Whether all parts are equal."
  if (line ~ /^ *([A-Za-z]+\(|[A-Za-z]+& operator=\()[A-Za-z]+&& other\)/) return "  ///< Moves."
  if (line ~ /^ *([A-Za-z]+\(|[A-Za-z]+& operator=\()const [A-Za-z]+&( other)?\)/) return "  ///< Copies."
  return ""
}
