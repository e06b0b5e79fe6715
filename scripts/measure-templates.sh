#!/usr/bin/env bash
# Measures the template tool on real pages nobody here wrote: the HTML
# documentation that Debian packages install under /usr/share/doc. For each
# page it counts whether it reads as a template as it is, and whether it reads
# after `toviktwo-template fix`; for the pages that still fail it tallies the
# reader's message and the checker's hint ids. For the fixed pages it also
# compares the visible words (python3's HTML parser, script and style left
# aside) of the original with those of the page a session serves after
# reading the fixed file (`toviktwo-template print`), as a check that the
# fixer did not change what the page shows.
#
# This is a measurement, not a test: the figures depend on what is installed.
# No extra doc packages are needed; on the machine measured, the pages came
# from packages already present (libxslt1-dev, nodejs, valgrind, libffi8,
# python3, shared-mime-info, libexpat1-dev and some twenty others).
#
# usage: scripts/measure-templates.sh [TOOL] [DOC_ROOT]
#   TOOL      the built tool (default build/tools/toviktwo-template)
#   DOC_ROOT  where to look for *.html and *.htm (default /usr/share/doc)
set -euo pipefail

tool=${1:-build/tools/toviktwo-template}
root=${2:-/usr/share/doc}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

find -L "$root" -type f \( -name '*.html' -o -name '*.htm' \) 2>/dev/null | sort > "$work/pages"
total=$(wc -l < "$work/pages")
as_is=0
fixed=0
: > "$work/remaining"
: > "$work/first-hints"
n=0
while IFS= read -r page; do
  n=$((n + 1))
  if "$tool" check -q "$page" > "$work/check.txt" 2>&1; then
    as_is=$((as_is + 1))
  else
    sed -n 's/.*\(\[[a-z,-]*\]\)$/\1/p' "$work/check.txt" >> "$work/first-hints"
  fi
  out="$work/page$n.html"
  if "$tool" fix -q -o "$out" "$page" > "$work/fix.txt" 2>&1; then
    fixed=$((fixed + 1))
    "$tool" print "$out" > "$work/printed$n.html"
    echo "$page $work/printed$n.html" >> "$work/pairs"
  else
    echo "$page: $(cat "$work/fix.txt")" >> "$work/remaining"
  fi
  rm -f "$out"
done < "$work/pages"

cat > "$work/words.py" <<'PY'
import html.parser, sys
class Words(html.parser.HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.words, self.skip = [], 0
    def handle_starttag(self, tag, attrs):
        self.skip += tag in ("script", "style")
    def handle_endtag(self, tag):
        if tag in ("script", "style") and self.skip:
            self.skip -= 1
    def handle_data(self, data):
        if not self.skip:
            self.words += data.split()
def words(path):
    w = Words()
    w.feed(open(path, encoding="utf-8", errors="replace").read())
    w.close()
    # The parser may split "<%" into "<" and "%"; join such pieces.
    return "".join(w.words)
same, differ = 0, []
for line in open(sys.argv[1]):
    original, printed = line.split()
    if words(original) == words(printed):
        same += 1
    else:
        differ.append(original)
print(f"same visible text:   {same} of {same + len(differ)} fixed pages")
for page in differ:
    print("  text differs:", page)
PY

pct() { if [ "$2" -gt 0 ]; then echo $(( 100 * $1 / $2 )); else echo 0; fi; }
echo "pages:               $total (under $root)"
echo "read as they are:    $as_is ($(pct "$as_is" "$total")%)"
echo "read after fix:      $fixed ($(pct "$fixed" "$total")%)"
if [ -s "$work/pairs" ]; then python3 "$work/words.py" "$work/pairs"; fi
if [ -s "$work/first-hints" ]; then
  echo "why pages fail as they are (hints of the first problem):"
  sort "$work/first-hints" | uniq -c | sort -rn
fi
if [ -s "$work/remaining" ]; then
  echo "still failing after fix, by message (line numbers cut):"
  sed -e 's/.*: fails: //' -e 's/ around line [0-9]*//' "$work/remaining" | sort | uniq -c | sort -rn
  echo "pages:"
  cut -d' ' -f1 "$work/remaining" | sed 's/:$//'
fi
