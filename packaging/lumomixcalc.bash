# Completion of lumomixcalc's command line for bash. What there is to choose from comes from the
# program's own help, so that it cannot differ from it.

# The words after "-OPTION=" in the help, those that the pattern matches.
_lumomixcalc_values() {
  lumomixcalc -help 2>/dev/null | grep -oE -- "$1" | sed 's/^-[a-z0-9]*=//' | sort -u
}
