#!/bin/sh
# The C block that follows the line "<!-- FILE -->" in README.md is FILE.
#   check_readme_example.sh README.md examples/rows_example.c
readme=$1 file=$2
marker="<!-- $(basename "$file") -->"
awk -v marker="$marker" '
  $0 == marker { found = 1; next }
  found == 1 && /^```c$/ { found = 2; next }
  found == 2 && /^```$/ { exit }
  found == 2 { print }
' "$readme" | diff -u "$file" - && echo "README shows $(basename "$file") as it is"
