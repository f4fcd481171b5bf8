# Turns the benchmarks' ROW lines (name, ratio, target, note; "null" where
# there is none) into the table printed for people and the JSON list kept in
# bench/results: each row's name, ratio, target and whether the target was
# met (null where the row has none or was skipped).
#   awk -F '\t' -v json=FILE -f report.awk ROWS
BEGIN { n = 0 }

$1 == "ROW" {
  n++
  name[n] = $2; ratio[n] = $3; target[n] = $4; note[n] = $5
  if (ratio[n] == "null") met[n] = (target[n] == "null" || note[n] ~ /^skipped/) ? "null" : "false"
  else if (target[n] == "null") met[n] = "null"
  else met[n] = (ratio[n] + 0 <= target[n] + 0) ? "true" : "false"
}

function shown(x) {
  if (x == "null") return "-"
  if (x + 0 >= 100) return sprintf("%.0f", x)
  if (x + 0 >= 10) return sprintf("%.1f", x)
  return sprintf("%.2f", x)
}

function verdict(i) {
  if (note[i] ~ /^skipped/) return "skipped"
  if (note[i] ~ /^failed/) return "FAILED"
  if (met[i] == "true") return "met"
  if (met[i] == "false") return "MISSED"
  return "-"
}

# Character by character: awks disagree on backslashes in gsub replacements.
function quoted(s,    out, i, c) {
  out = ""
  for (i = 1; i <= length(s); i++) {
    c = substr(s, i, 1)
    if (c == "\\" || c == "\"") out = out "\\" c
    else if (c == "\t") out = out " "
    else out = out c
  }
  return "\"" out "\""
}

function number(x) { return x == "null" ? "null" : sprintf("%g", x) }

END {
  print "| Benchmark | Ratio | Target | Met | What dominates |"
  print "|---|---:|---:|---|---|"
  for (i = 1; i <= n; i++) {
    t = target[i] == "null" ? "-" : "<= " shown(target[i])
    printf "| %s | %s | %s | %s | %s |\n", name[i], shown(ratio[i]), t, verdict(i), note[i]
    count[verdict(i)]++
  }
  printf "\n%d rows: %d targets met, %d missed, %d failed, %d skipped\n", n,
         count["met"], count["MISSED"], count["FAILED"], count["skipped"]
  print "[" > json
  for (i = 1; i <= n; i++)
    printf "  {\"name\": %s, \"ratio\": %s, \"target\": %s, \"met\": %s, \"note\": %s}%s\n",
           quoted(name[i]), number(ratio[i]), number(target[i]), met[i], quoted(note[i]),
           i < n ? "," : "" > json
  print "]" > json
}
