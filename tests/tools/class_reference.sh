#!/usr/bin/env bash
# The class reference against the classes the library registers: every class,
# data member, static data member, method and static method that
# `tul --classes` lists has an entry in docs/classes.md, and every entry there
# names one that it lists. The sections follow the registration order and name
# the right base class. Each class's examples run, and print what their
# "// → " comments say.
#   class_reference.sh docs/classes.md [emulator] path/to/tul
#
# What counts as an entry (outside fenced code blocks):
#   a class     a heading "## `Name`", or "## `Name` (derives from `Base`)";
#               any other "## " heading ends the class's section
#   a method    a backquoted call `name(...)` in the head of a list item (the
#               text before its "→") or in the first cell of a table row;
#               `Class.name(...)` is a static method
#   a member    a backquoted `_name` in the first cell of a table row;
#               `Class._name` is a static data member
#   an example  a code block opened with ```js; the text after "// → " on its
#               lines, in order, is what it prints
set -euo pipefail
doc=$1
shift
[ -f "$doc" ] || { echo "class_reference: no such file: $doc" >&2; exit 1; }
listing=$("$@" --classes) || { echo "class_reference: $* --classes failed" >&2; exit 1; }

problems=$(printf '%s\n' "$listing" | awk -v docname="$(basename "$doc")" '
function addNames(table, cls, kind, list,    n, i, names) {
  if (list == "-" || list == "") return
  n = split(list, names, ",")
  for (i = 1; i <= n; ++i) table[cls SUBSEP kind SUBSEP names[i]] = 1
}
function problem(text) { print text }
function where() { return docname ":" FNR }

# The backquoted spans of text that name entries: calls everywhere, members
# only where members may stand (the first cell of a table row).
function entries(text, membersToo,    span, name, qual, dot) {
  while (match(text, /`[^`]*`/)) {
    span = substr(text, RSTART + 1, RLENGTH - 2)
    text = substr(text, RSTART + RLENGTH)
    qual = ""
    if (match(span, /^[A-Za-z_][A-Za-z0-9_]*\.[A-Za-z_]/)) {
      dot = index(span, ".")
      qual = substr(span, 1, dot - 1)
      span = substr(span, dot + 1)
    }
    if (match(span, /^[A-Za-z_][A-Za-z0-9_]*\(/)) {
      name = substr(span, 1, RLENGTH - 1)
      record(qual, name, qual == "" ? "method" : "static method")
    } else if (membersToo && span ~ /^_[A-Za-z0-9_]*$/) {
      record(qual, span, qual == "" ? "data member" : "static data member")
    }
  }
}
function record(qual, name, kind) {
  if (qual != "" && qual != cls) {
    problem(where() ": " kind " " qual "." name " is written with another class than its section, " cls)
    return
  }
  documented[cls SUBSEP kind SUBSEP name] = where()
}

# First input: the listing, NAME|BASE|MEMBERS|STATICS|METHODS|STATIC_METHODS.
FNR == NR {
  split($0, f, "|")
  registered[++nreg] = f[1]
  isRegistered[f[1]] = 1
  base[f[1]] = f[2] == "-" ? "" : f[2]
  addNames(listed, f[1], "data member", f[3])
  addNames(listed, f[1], "static data member", f[4])
  addNames(listed, f[1], "method", f[5])
  addNames(listed, f[1], "static method", f[6])
  next
}

# Second input: the reference.
/^```/ { fence = !fence; next }
fence { next }
/^## / {
  cls = ""
  if (!match($0, /^## `[A-Za-z_][A-Za-z0-9_]*`/)) next
  cls = substr($0, 5, RLENGTH - 5)
  rest = substr($0, RLENGTH + 1)
  docBase = ""
  if (rest ~ /^ \(derives from `[A-Za-z_][A-Za-z0-9_]*`\)$/) {
    docBase = rest
    sub(/^ \(derives from `/, "", docBase)
    sub(/`\)$/, "", docBase)
  } else if (rest != "") {
    problem(where() ": a class heading is \"## `Name`\" or \"## `Name` (derives from `Base`)\"")
  }
  if (cls in sectionAt) problem(where() ": a second section for " cls " (the first is at line " sectionAt[cls] ")")
  sectionAt[cls] = FNR
  sections[++nsec] = cls
  if (cls in isRegistered && docBase != base[cls])
    problem(where() ": the heading of " cls " gives " (docBase == "" ? "no base class" : "the base " docBase) \
            ", tul registers " (base[cls] == "" ? "none" : base[cls]))
  next
}
cls == "" { next }
/^[-*] `/ {
  arrow = index($0, "→")
  if (!arrow) { problem(where() ": an entry is \"- `name(args)` → result\", and this one has no →"); next }
  entries(substr($0, 3, arrow - 3), 0)
  next
}
/^\|/ {
  cell = substr($0, 2)
  bar = index(cell, "|")
  if (bar) cell = substr(cell, 1, bar - 1)
  entries(cell, 1)
}

END {
  for (i = 1; i <= nreg; ++i)
    if (!(registered[i] in sectionAt)) problem("class " registered[i] " is registered but has no section")
  for (i = 1; i <= nsec; ++i)
    if (!(sections[i] in isRegistered)) problem(docname ":" sectionAt[sections[i]] ": class " sections[i] " is documented but not registered")
  # The sections of registered classes, in the order tul lists them.
  order = ""; want = ""
  for (i = 1; i <= nsec; ++i) if (sections[i] in isRegistered) order = order " " sections[i]
  for (i = 1; i <= nreg; ++i) if (registered[i] in sectionAt) want = want " " registered[i]
  if (order != want) problem("the sections are not in registration order: the reference has" order "; tul registers" want)
  for (key in listed) if (!(key in documented)) {
    split(key, k, SUBSEP)
    if (k[1] in sectionAt) problem(k[1] ": " k[2] " " k[3] " is registered but not documented")
  }
  for (key in documented) if (!(key in listed)) {
    split(key, k, SUBSEP)
    if (k[1] in isRegistered) problem(documented[key] ": " k[1] ": " k[2] " " k[3] " is documented but not registered")
  }
}
' - "$doc" | sort)

if [ -n "$problems" ]; then
  printf 'class_reference: %s and tul --classes differ\n%s\n' "$doc" "$problems" >&2
  exit 1
fi

# The examples: one script and its expected output per block, named for the
# class and the block's first line.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
awk -v dir="$work" '
/^## / { cls = ""; if (match($0, /^## `[A-Za-z_][A-Za-z0-9_]*`/)) cls = substr($0, 5, RLENGTH - 5); next }
/^```js$/ && cls != "" { ++n; base = sprintf("%s/%02d-%s-%d", dir, n, cls, FNR); inBlock = 1; printf "" > (base ".expected"); next }
/^```/ { inBlock = 0; next }
inBlock {
  print > (base ".tul")
  at = index($0, "// → ")
  if (at) print substr($0, at + length("// → ")) > (base ".expected")
}
' "$doc"

failed=0
examples=0
for script in "$work"/*.tul; do
  [ -e "$script" ] || break
  examples=$((examples + 1))
  name=$(basename "$script" .tul)
  status=0
  actual=$("$@" "$script" 2>"$work/stderr") || status=$?
  expected=$(cat "${script%.tul}.expected")
  if [ "$status" -ne 0 ] || [ "$actual" != "$expected" ]; then
    failed=1
    printf 'class_reference: the example of %s (%s:%s) prints, with exit status %s:\n%s\n%s\n--- where its comments say:\n%s\n' \
      "$(echo "$name" | cut -d- -f2)" "$(basename "$doc")" "$(echo "$name" | cut -d- -f3)" "$status" \
      "$actual" "$(cat "$work/stderr")" "$expected" >&2
  fi
done
[ "$failed" -eq 0 ] || exit 1

count=$(printf '%s\n' "$listing" | wc -l)
echo "class_reference: $count classes, every member and method documented; $examples examples print what they say"
