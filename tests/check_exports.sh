#!/usr/bin/env bash
# Compares the dynamic symbols a shared library defines with the functions its
# header marks ZEL_API. Prints the differences and fails on any.
set -euo pipefail
nm_tool=$1 library=$2 header=$3
declared=$(grep -E '^ZEL_API ' "$header" | sed -E 's/\(.*//; s/.*[ *]//' | sort -u)
defined=$("$nm_tool" -D --defined-only "$library" | awk '$2 ~ /^[TW]$/ {print $3}' | sed 's/@.*//' \
  | grep -vE '^(_init|_fini)$' | sort -u)
missing=$(comm -23 <(echo "$declared") <(echo "$defined"))
extra=$(comm -13 <(echo "$declared") <(echo "$defined"))
[ -n "$missing" ] && echo "declared but not exported: $missing"
[ -n "$extra" ] && echo "exported but not declared: $extra"
[ -z "$missing$extra" ] && echo "$(echo "$declared" | wc -l) exported names, all declared"
[ -z "$missing$extra" ]
