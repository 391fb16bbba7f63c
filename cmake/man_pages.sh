#!/bin/sh
# Makes manual pages of the program's own help: man_pages.sh PROGRAM FOLDER
set -eu
program="$1" folder="$2"
mkdir -p "$folder"
rm -f "$folder"/*.gz

# page NAME TITLE COMMAND...: one page, packed as Debian wants it
page() {
  name="$1" title="$2"
  shift 2
  help2man --no-info --name="$title" --output="$folder/$name.1" "$*"
  gzip -9nf "$folder/$name.1"
}

page morvex "shows, checks, and draws compressed finite-element result files" "$program"
"$program" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\)  *\([A-Z].*\)/\1 \2/p' |
  while read -r command title; do
    page "morvex-$command" "$title" "$program" "$command"
  done
