#!/usr/bin/env python3
"""Plants faults in the library's sources, one at a time, and tells which the
Linux suite catches (see scripts/mutants.sh, which sets up and calls this).

Each mutant changes one operator, literal or statement on one line: == and
!=, < and <=, > and >=, && and ||, + 1 and - 1, return 0 and return 1, true
and false, a condition negated, a call statement removed. The mutants are
sampled with a seed from every place such a change can be made, applied to a
scratch copy of the tree (the working tree is never touched), built, and the
suite is run with a time limit; a failing or hanging suite catches the
mutant, one that does not compile does not count.
"""
import argparse
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time

LIBRARY = ["module", "containers", "marshal", "winstruct", "window", "dialogs"]
HOST = ["runtime", "script"]

# (name, pattern, replacement): each match of the pattern on a code line is
# one candidate. Patterns keep clear of templates, shifts, arrows and
# includes.
OPERATORS = [
    ("==", re.compile(r"(?<=[\w)\]\s])==(?=[\s\w(!-])"), "!="),
    ("!=", re.compile(r"(?<=[\w)\]\s])!=(?=[\s\w(-])"), "=="),
    ("<=", re.compile(r"(?<=\s)<=(?=\s)"), "<"),
    ("<", re.compile(r"(?<=\s)<(?=\s)"), "<="),
    (">=", re.compile(r"(?<=\s)>=(?=\s)"), ">"),
    (">", re.compile(r"(?<=\s)>(?=\s)"), ">="),
    ("&&", re.compile(r"(?<=\s)&&(?=\s)"), "||"),
    ("||", re.compile(r"(?<=\s)\|\|(?=\s)"), "&&"),
    ("+ 1", re.compile(r"(?<=\s)\+ 1\b"), "- 1"),
    ("- 1", re.compile(r"(?<=\s)- 1\b"), "+ 1"),
    ("return 0", re.compile(r"\breturn 0;"), "return 1;"),
    ("return 1", re.compile(r"\breturn 1;"), "return 0;"),
    ("true", re.compile(r"\btrue\b"), "false"),
    ("false", re.compile(r"\bfalse\b"), "true"),
]
SKIP_LINE = re.compile(r"^\s*(#|//|\*|/\*|static_assert|assert\(|template\b)")
CALL_STATEMENT = re.compile(r"^(\s*)((?:[A-Za-z_][\w:]*(?:\.|->))*[A-Za-z_][\w:]*\(.*\));\s*$")
IF_CONDITION = re.compile(r"\b(if|while) \(")


def matching_paren(text, open_at):
    depth = 0
    for i in range(open_at, len(text)):
        if text[i] == "(":
            depth += 1
        elif text[i] == ")":
            depth -= 1
            if depth == 0:
                return i
    return -1


def candidates(path, lines):
    """Every (line number, before, after) that one change can make."""
    out = []
    in_block_comment = False
    for n, line in enumerate(lines, 1):
        stripped = line.strip()
        if in_block_comment:
            if "*/" in stripped:
                in_block_comment = False
            continue
        if stripped.startswith("/*") and "*/" not in stripped:
            in_block_comment = True
            continue
        if not stripped or SKIP_LINE.match(line):
            continue
        code = line.split("//", 1)[0]
        if '"' in code:  # keep string literals whole: only the part before the first
            code = code[: code.index('"')]
        for _, pattern, replacement in OPERATORS:
            for m in pattern.finditer(code):
                after = line[: m.start()] + replacement + line[m.end():]
                out.append((n, line, after))
        for m in IF_CONDITION.finditer(code):
            open_at = m.end() - 1
            close_at = matching_paren(line, open_at)
            if close_at > open_at:
                cond = line[open_at + 1: close_at]
                after = line[: open_at + 1] + "!(" + cond + ")" + line[close_at:]
                out.append((n, line, after))
        # A whole line that is one call statement (a call whose result is
        # dropped): the statement goes.
        call = CALL_STATEMENT.match(line.rstrip("\n"))
        if call and not re.match(r"\s*(return|delete|throw|if|for|while|switch|case|else)\b", line):
            out.append((n, line, call.group(1) + "(void)0;\n"))
    return [(path, n, before, after) for n, before, after in out]


def run(cmd, cwd, timeout):
    """The command's status and output; None after the time limit, when the
    command and everything it started (a test a mutant made hang) are
    killed."""
    p = subprocess.Popen(cmd, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                         start_new_session=True)
    try:
        out, _ = p.communicate(timeout=timeout)
        return p.returncode, out.decode(errors="replace")
    except subprocess.TimeoutExpired:
        os.killpg(p.pid, signal.SIGKILL)
        p.communicate()
        return None, "timed out"


def known_equivalents(path):
    """The list of equivalent mutants: {(file, before, after, under): why}.
    `under` is the line above the changed one, for a line whose text alone
    (a bare `return false;`) names too many places; None elsewhere."""
    known, key = {}, None
    if not os.path.exists(path):
        return known
    with open(path, encoding="utf-8") as fh:
        for line in fh:
            if not line.strip() or line.startswith("#"):
                continue
            if line[0].isspace():
                if key and line.strip().startswith("under: ") and not known[key]:
                    why = known.pop(key)
                    key = key[:3] + (line.strip()[len("under: "):].strip(),)
                    known[key] = why
                elif key:
                    known[key] = (known[key] + " " + line.strip()).strip()
                continue
            where, _, change = line.partition(": ")
            before, _, after = change.strip().partition(" => ")
            key = (where.strip(), before.strip(), after.strip(), None)
            known[key] = ""
    return known


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--root", required=True)
    ap.add_argument("--scratch", required=True)
    ap.add_argument("--count", type=int, default=100)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--host", action="store_true", help="also the runtime and the script language")
    ap.add_argument("--files", nargs="*", default=None, help="only these source files")
    ap.add_argument("--timeout", type=int, default=120, help="seconds for one run of the suite")
    ap.add_argument("--summary", default=None, help="also write the summary here")
    ap.add_argument("--without", default=None,
                    help="run the suite without the tests this ctest regex names, and report"
                         " which of them alone catch a mutant")
    a = ap.parse_args()

    src = os.path.join(a.scratch, "src")
    build = os.path.join(a.scratch, "build")
    if a.files:
        files = [f for f in a.files if f.endswith((".cpp", ".h"))]
    else:
        folders = LIBRARY + (HOST if a.host else [])
        files = sorted(os.path.join(d, f) for d in folders
                       for f in os.listdir(os.path.join(a.root, d)) if f.endswith(".cpp"))
    pool = []
    for f in files:
        with open(os.path.join(a.root, f), encoding="utf-8") as fh:
            pool += candidates(f, fh.readlines())
    rng = random.Random(a.seed)
    sample = rng.sample(pool, min(a.count, len(pool)))
    sample.sort(key=lambda m: (m[0], m[1]))
    print(f"mutants: {len(sample)} of {len(pool)} possible changes in {len(files)} files, seed {a.seed}",
          flush=True)

    # A run that was killed while a mutant was in place may have left objects
    # built from it, newer than the sources copied below: its build goes.
    marker = os.path.join(a.scratch, "mutating")
    if os.path.exists(marker):
        shutil.rmtree(build, ignore_errors=True)
        os.remove(marker)
    # A TERM signal ends the run as an interrupt does, restoring the file.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("mutants: stopped"))

    # The scratch tree: a copy of the sources, built once before any change.
    if os.path.exists(src):
        shutil.rmtree(src)
    shutil.copytree(a.root, src, ignore=shutil.ignore_patterns("build", ".git"))
    os.makedirs(build, exist_ok=True)
    toolchain = os.path.join(src, "cmake", "linux-x86.cmake")
    configure = ["cmake", "-S", src, "-B", build, "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                 f"-DCMAKE_TOOLCHAIN_FILE={toolchain}"]
    status, log = run(configure, src, 600)
    if status != 0:
        print(log)
        sys.exit("mutants: the scratch tree does not configure")
    status, log = run(["cmake", "--build", build, "-j2"], src, 3600)
    if status != 0:
        print(log[-3000:])
        sys.exit("mutants: the scratch tree does not build unchanged")
    status, log = run(["ctest", "--test-dir", build, "-j2"], src, a.timeout)
    if status != 0:
        print(log[-3000:])
        sys.exit("mutants: the suite fails without any change")

    known = known_equivalents(os.path.join(a.root, "scripts", "equivalent-mutants.txt"))
    caught = compiled = 0
    survivors = []
    equivalents = []
    only = []  # caught only by the tests --without leaves out
    began = time.time()
    for i, (path, n, before, after) in enumerate(sample, 1):
        target = os.path.join(src, path)
        with open(target, encoding="utf-8") as fh:
            original = fh.readlines()
        mutated = list(original)
        mutated[n - 1] = after
        try:
            with open(marker, "w", encoding="utf-8") as fh:
                fh.write(path + "\n")
            with open(target, "w", encoding="utf-8") as fh:
                fh.writelines(mutated)
            status, _ = run(["cmake", "--build", build, "-j2"], src, 900)
            if status != 0:
                verdict = "does not compile"
            else:
                compiled += 1
                suite = ["ctest", "--test-dir", build, "-j2", "--stop-on-failure",
                         "--timeout", str(a.timeout)]
                status, _ = run(suite + (["-E", a.without] if a.without else []), src, a.timeout)
                if status == 0 and a.without:
                    status, out = run(["ctest", "--test-dir", build, "-j2", "-R", a.without,
                                       "--timeout", str(a.timeout), "--output-on-failure"],
                                      src, a.timeout)
                    if status != 0:
                        catchers = sorted(set(re.findall(r"\[  FAILED  \] (\S+\.\S+) \(", out) +
                                              re.findall(r"\d+ - (\S+) \(", out)))
                        only.append(f"{path}:{n}: {before.strip()} => {after.strip()}"
                                    f"\n  caught only by: {' '.join(catchers) or 'a hang'}")
                if status == 0:
                    change = f"{path}:{n}: {before.strip()} => {after.strip()}"
                    under = original[n - 2].strip() if n > 1 else ""
                    why = known.get((path, before.strip(), after.strip(), under),
                                    known.get((path, before.strip(), after.strip(), None)))
                    if why is None:
                        verdict = "SURVIVES"
                        survivors.append(change)
                    else:
                        verdict = "survives (a known equivalent)"
                        equivalents.append(f"{change}\n  {why}")
                else:
                    caught += 1
                    verdict = "caught" if status is not None else "caught (hangs)"
        finally:
            with open(target, "w", encoding="utf-8") as fh:
                fh.writelines(original)
            # The file is newer than any object built from the mutant now.
            os.remove(marker)
        print(f"[{i}/{len(sample)}] {path}:{n}: {verdict}", flush=True)
    # Leave the scratch build as the sources are.
    run(["cmake", "--build", build, "-j2"], src, 900)

    minutes = (time.time() - began) / 60
    score = 100.0 * caught / compiled if compiled else 0.0
    lines = [f"mutants: seed {a.seed}, {len(sample)} sampled of {len(pool)} in {len(files)} files"
             f" ({'library and host' if a.host else 'library'}{', chosen files' if a.files else ''})",
             f"mutants: {compiled} compiled, {caught} caught, {len(survivors) + len(equivalents)}"
             f" survived ({len(equivalents)} known equivalents): score {score:.1f}% ({minutes:.0f} min)"]
    lines += ["survivor: " + s for s in survivors]
    lines += ["equivalent: " + s for s in equivalents]
    if a.without:
        lines += [f"without {a.without}: {len(only)} of the caught are caught only by those tests"]
        lines += ["only: " + s for s in only]
    print("\n".join(lines))
    if a.summary:
        with open(a.summary, "w", encoding="utf-8") as fh:
            fh.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main()
