# Prints the entries of the newest version in CHANGELOG.md in the form of a Debian changelog.
# It fails without a version; lintian objects to lines that are too long.
/^## / {
  if (found++) exit
  print ""
  next
}
found && NF {
  sub(/^- /, "  * ") || sub(/^  /, "    ")
  print
}
END { exit !found }
