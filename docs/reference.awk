# SPDX-License-Identifier: Apache-2.0

# Shows a public header to Doxygen as people read it: a comment describes all declarations from it to the
# next blank line, so these become a group, unless one of them has a comment of its own. Special members,
# which do the same in every class, get a word each.
/^ *\/\/\/ / && !inComment { flush(); inComment = 1 }
/^ *$/ || /^ *(public|private|protected):/ || /^ *};/ || /^}/ { flush() }
{
  if (!/^ *\/\/\//) inComment = 0
  text[++count] = $0
}
END { flush() }

function flush(i, plain, depth, declarations, nests, hasOwn) {
  for (i = 1; i <= count; i++) {
    plain = text[i]
    if (plain ~ /[^ ] *\/\/\/</) hasOwn = 1
    sub(/ *\/\/.*/, "", plain)
    if (depth == 0 && plain ~ /^ *(template *<.*> *)?(class|struct|enum|namespace|union) [^;]*$/) nests = 1
    depth += gsub(/[{(]/, "&", plain) - gsub(/[})]/, "&", plain)
    if (depth == 0 && plain ~ /[;}]$/) declarations++
  }
  isGroup = text[1] ~ /^ *\/\/\/ / && declarations > 1 && !nests && !hasOwn
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
