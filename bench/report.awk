# Turns the benchmarks' ROW lines (name, ratio, target, note; "null" where
# there is none) into the table printed for people and the JSON list kept in
# bench/results: each row's name, ratio, target and whether the target was
# met (null where the row has none or was skipped).
#   awk -F '\t' -v json=FILE -f report.awk ROWS
#
# Several runs of the same programs (natively, under an emulator) are given
# as one file each, each after the run's name:
#   awk -F '\t' -v json=FILE [-v previous=OLD.json] -f report.awk \
#       run=qemu-i386 ROWS1 run=native ROWS2
# Rows are matched by name. The first run's figures are the row's own
# (ratio, met, note, and "run" naming it); every further run's sit under its
# name ({"ratio", "met", "note"}). A row meets its target when it does so in
# every run. With previous (a file this script wrote before), every row and
# run whose ratio is more than 10% above the same run's in the previous file
# is listed after the table.
BEGIN { n = 0; runs = 0 }

FNR == 1 {
  if (runs == 0 || runName[runs] != run) runName[++runs] = run
}

$1 == "ROW" {
  r = runs
  if (!($2 in index_)) {
    index_[$2] = ++n
    name[n] = $2; target[n] = $4
  }
  i = index_[$2]
  if (target[i] == "null") target[i] = $4
  ratio[i, r] = $3; note[i, r] = $5; seen[i, r] = 1
  if ($3 == "null") met[i, r] = ($4 == "null" || $5 ~ /^skipped/) ? "null" : "false"
  else if ($4 == "null") met[i, r] = "null"
  else met[i, r] = ($3 + 0 <= $4 + 0) ? "true" : "false"
}

function shown(x) {
  if (x == "" || x == "null") return "-"
  if (x + 0 >= 100) return sprintf("%.0f", x)
  if (x + 0 >= 10) return sprintf("%.1f", x)
  return sprintf("%.2f", x)
}

function verdictIn(i, r) {
  if (!seen[i, r]) return "-"
  if (note[i, r] ~ /^skipped/) return "skipped"
  if (note[i, r] ~ /^failed/) return "FAILED"
  if (met[i, r] == "true") return "met"
  if (met[i, r] == "false") return "MISSED"
  return "-"
}

# Over every run: a failure or a miss anywhere counts, naming the run when
# there are several.
function verdict(i,    r, v, worst, where, best) {
  worst = ""; best = "-"
  for (r = 1; r <= runs; r++) {
    v = verdictIn(i, r)
    if (v == "FAILED" || v == "MISSED") {
      if (worst == "" || v == "FAILED") worst = v
      where = where (where == "" ? "" : ", ") runName[r]
    } else if (worst == "" && v != "-") {
      best = v
    }
  }
  if (worst != "") return runs > 1 ? worst " (" where ")" : worst
  return verdictIn(i, 1) != "-" ? verdictIn(i, 1) : best
}

# Character by character: awks disagree on backslashes in gsub replacements.
function quoted(s,    out, k, c) {
  out = ""
  for (k = 1; k <= length(s); k++) {
    c = substr(s, k, 1)
    if (c == "\\" || c == "\"") out = out "\\" c
    else if (c == "\t") out = out " "
    else out = out c
  }
  return "\"" out "\""
}

function number(x) { return (x == "" || x == "null") ? "null" : sprintf("%g", x) }
function flag(x) { return x == "" ? "null" : x }

# The ratios of a file this script wrote, by row and run: one row a line,
# the first run's figures the row's own (a file that names no run was
# measured under qemu-i386), each further run's under its name.
function readPrevious(file,    line, nm, at, rt, rn, key, k) {
  key = "\", \"ratio\": "
  while ((getline line < file) > 0) {
    if (line !~ /"name": /) continue
    at = index(line, key)
    nm = substr(line, 1, at - 1); sub(/.*"name": "/, "", nm)
    rt = substr(line, at + length(key)); sub(/,.*/, "", rt)
    rn = "qemu-i386"
    if (line ~ /"run": "/) { rn = line; sub(/.*"run": "/, "", rn); sub(/".*/, "", rn) }
    prevRatio[nm, rn] = rt
    for (k = 2; k <= runs; k++) {
      at = index(line, "\"" runName[k] "\": {\"ratio\": ")
      if (!at) continue
      rt = substr(line, at + length(runName[k]) + 14); sub(/,.*/, "", rt)
      prevRatio[nm, runName[k]] = rt
    }
  }
  close(file)
}

END {
  header = "| Benchmark |"
  rule = "|---|"
  for (r = 1; r <= runs; r++) {
    header = header " " (runs > 1 ? runName[r] : "Ratio") " |"
    rule = rule "---:|"
  }
  print header " Target | Met | What dominates |"
  print rule "---:|---|---|"
  for (i = 1; i <= n; i++) {
    t = target[i] == "null" ? "-" : "<= " shown(target[i])
    line = "| " name[i] " |"
    for (r = 1; r <= runs; r++) line = line " " shown(ratio[i, r]) " |"
    nt = ""
    for (r = 1; r <= runs; r++)
      if (seen[i, r]) nt = nt (nt == "" ? "" : "; ") (runs > 1 ? runName[r] ": " : "") note[i, r]
    printf "%s %s | %s | %s |\n", line, t, verdict(i), nt
    v = verdict(i); sub(/ \(.*/, "", v)
    count[v]++
  }
  printf "\n%d rows: %d targets met, %d missed, %d failed, %d skipped\n", n,
         count["met"], count["MISSED"], count["FAILED"], count["skipped"]

  print "[" > json
  for (i = 1; i <= n; i++) {
    row = sprintf("  {\"name\": %s, \"ratio\": %s, \"target\": %s, \"met\": %s, \"note\": %s",
                  quoted(name[i]), number(ratio[i, 1]), number(target[i]), flag(met[i, 1]),
                  quoted(note[i, 1]))
    if (runName[1] != "") row = row ", \"run\": " quoted(runName[1])
    for (r = 2; r <= runs; r++)
      if (seen[i, r])
        row = row sprintf(", %s: {\"ratio\": %s, \"met\": %s, \"note\": %s}", quoted(runName[r]),
                          number(ratio[i, r]), flag(met[i, r]), quoted(note[i, r]))
    printf "%s}%s\n", row, i < n ? "," : "" > json
  }
  print "]" > json

  if (previous == "") exit
  readPrevious(previous)
  slower = 0
  for (i = 1; i <= n; i++)
    for (r = 1; r <= runs; r++) {
      rn = runName[r] == "" ? "qemu-i386" : runName[r]
      if (!((name[i], rn) in prevRatio) || prevRatio[name[i], rn] == "null" ||
          ratio[i, r] == "null" || ratio[i, r] + 0 <= 1.1 * prevRatio[name[i], rn])
        continue
      if (!slower++) print "\nMore than 10% above the previous run (" previous "):"
      printf "  %s%s: %s, was %s\n", name[i], (runs > 1 ? " (" rn ")" : ""), shown(ratio[i, r]),
             shown(prevRatio[name[i], rn])
    }
  if (!slower) print "\nNo row more than 10% above the previous run (" previous ")."
}
