#!/usr/bin/env python3
"""Mutation check: applies each fault of scripts/mutants/*.txt, one at a time, to a
scratch copy of the tree, builds it incrementally in one scratch build folder,
runs the unit tests (and the GUI tests a fault names), and prints every fault
that survived and the score. Run by hand; slow on a small machine.

A fault file holds blocks:

    ### <id>: what the fault is
    file: src/path/to/file.cpp
    gui: <gtest filter of GUI tests to run as well>     (optional)
    <<<
    the exact original lines
    ===
    the lines that replace them
    >>>

A fault whose original lines are not in the file exactly once (someone
changed the code since) is reported as "does not apply" and not scored.
"""
import argparse, glob, os, re, shutil, subprocess, sys, time

HERE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def parse(path):
    faults, lines, i = [], open(path, encoding="utf-8").read().split("\n"), 0
    while i < len(lines):
        m = re.match(r"^### (\S+): (.*)$", lines[i])
        if not m:
            i += 1
            continue
        fault = {"id": m.group(1), "what": m.group(2), "gui": "", "source": path}
        i += 1
        while i < len(lines) and lines[i] != "<<<":
            key, _, value = lines[i].partition(":")
            if key.strip() in ("file", "gui"):
                fault[key.strip()] = value.strip()
            i += 1
        original, replacement, part = [], [], None
        i += 1
        while i < len(lines) and lines[i] != ">>>":
            if lines[i] == "===":
                part = replacement
            else:
                (original if part is None else replacement).append(lines[i])
            i += 1
        fault["original"], fault["replacement"] = "\n".join(original), "\n".join(replacement)
        faults.append(fault)
        i += 1
    return faults


def sync(source, target):
    """Makes `target` a copy of `source` (no build folders, no .git), keeping
    unchanged files untouched so that the scratch build stays incremental."""
    def skip(rel):
        top = rel.split(os.sep)[0]
        return top == ".git" or top.startswith("build")
    seen = set()
    for folder, dirs, files in os.walk(source):
        rel_folder = os.path.relpath(folder, source)
        dirs[:] = [d for d in dirs if not skip(os.path.normpath(os.path.join(rel_folder, d)))]
        os.makedirs(os.path.join(target, rel_folder), exist_ok=True)
        for name in files:
            rel = os.path.normpath(os.path.join(rel_folder, name))
            seen.add(rel)
            src, dst = os.path.join(source, rel), os.path.join(target, rel)
            if os.path.islink(src):
                if os.path.lexists(dst):
                    os.remove(dst)
                os.symlink(os.readlink(src), dst)
                continue
            # Compared by content; a changed file gets a new time, so that the
            # build sees it (an older one would not be rebuilt).
            try:
                same = open(src, "rb").read() == open(dst, "rb").read()
            except FileNotFoundError:
                same = False
            if not same:
                shutil.copy(src, dst)
    for folder, dirs, files in os.walk(target):
        rel_folder = os.path.relpath(folder, target)
        dirs[:] = [d for d in dirs if not skip(os.path.normpath(os.path.join(rel_folder, d)))]
        for name in files:
            rel = os.path.normpath(os.path.relpath(os.path.join(folder, name), target))
            if rel not in seen:
                os.remove(os.path.join(target, rel))


LAST_OUTPUT = [""]


def run(cmd, cwd, timeout, env=None):
    try:
        done = subprocess.run(cmd, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=timeout, env=env)
        LAST_OUTPUT[0] = done.stdout.decode("utf-8", "replace")
        return done.returncode
    except subprocess.TimeoutExpired:
        LAST_OUTPUT[0] = ""
        return "timeout"


def first_failure():
    """The first test that failed in the last run, to show what caught a fault."""
    m = re.search(r"^\[  FAILED  \] (\S+)", LAST_OUTPUT[0], re.M)
    return m.group(1) if m else "no test named (a crash or a time-out?)"


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("only", nargs="*", help="ids (or regular expressions over them) of the faults to try")
    # The scratch tree lies beside the worktree's own build, laid out alike
    # (sources, and the build in its "build" folder), so that the compiler
    # cache serves both.
    ap.add_argument("--scratch", default=os.environ.get("OSTREL_MUTANT_DIR", os.path.join(HERE, "build-mutants")))
    ap.add_argument("--list", action="store_true", help="list the faults and whether each applies")
    args = ap.parse_args()

    faults = [f for p in sorted(glob.glob(os.path.join(HERE, "scripts/mutants/*.txt"))) for f in parse(p)]
    if args.only:
        faults = [f for f in faults if any(re.fullmatch(o, f["id"]) for o in args.only)]
    tree, build = args.scratch, os.path.join(args.scratch, "build")
    # The scratch copy follows the worktree as it is now, edits not yet committed included.
    os.makedirs(tree, exist_ok=True)
    sync(HERE, tree)
    for f in faults:
        text = open(os.path.join(tree, f["file"]), encoding="utf-8").read() if os.path.exists(
            os.path.join(tree, f["file"])) else ""
        f["applies"] = text.count(f["original"]) == 1 and f["original"] != ""
    if args.list:
        for f in faults:
            print("%-28s %s%s" % (f["id"], f["what"], "" if f["applies"] else "   [does not apply]"))
        return 0

    env = dict(os.environ, CCACHE_BASEDIR=os.path.dirname(HERE), QT_QPA_PLATFORM="offscreen")
    subprocess.check_call(["cmake", "-S", tree, "-B", build, "-G", "Ninja"], stdout=subprocess.DEVNULL)
    targets = ["ostrel_unit_tests", "ostrel-stub", "ostrel-cleanup"]
    if run(["ninja", "-C", build] + targets, tree, 3600, env) != 0:
        print("the unmodified tree does not build in %s" % build)
        return 2
    if run([os.path.join(build, "ostrel_unit_tests"), "--gtest_brief=1"], build, 1800, env) != 0:
        print("the unit tests fail without any fault: fix that first")
        return 2

    caught, survived, skipped = [], [], []
    for f in faults:
        if not f["applies"]:
            print("%-28s does not apply (the code changed): %s" % (f["id"], f["what"]))
            skipped.append(f)
            continue
        path = os.path.join(tree, f["file"])
        pristine = open(path, encoding="utf-8").read()
        start = time.time()
        by = ""
        try:
            open(path, "w", encoding="utf-8").write(pristine.replace(f["original"], f["replacement"], 1))
            if run(["ninja", "-C", build] + targets, tree, 1800, env) != 0:
                verdict = "does not build"
            else:
                rc = run([os.path.join(build, "ostrel_unit_tests"), "--gtest_brief=1", "--gtest_fail_fast"],
                         build, 900, env)
                if rc == 0 and f["gui"]:
                    run(["ninja", "-C", build, "ostrel_gui_tests"], tree, 1800, env)
                    rc = run([os.path.join(build, "ostrel_gui_tests"), "--gtest_brief=1",
                              "--gtest_filter=" + f["gui"]], build, 1800, env)
                verdict = "survived" if rc == 0 else "caught"
                by = "" if rc == 0 else first_failure()
        finally:
            open(path, "w", encoding="utf-8").write(pristine)
        print("%-28s %-15s %4.0fs  %s%s" % (f["id"], verdict, time.time() - start, f["what"],
                                           "  [by " + by + "]" if by else ""), flush=True)
        if verdict == "caught":
            caught.append(f)
        elif verdict == "survived":
            survived.append(f)
        else:
            skipped.append(f)
    run(["ninja", "-C", build] + targets, tree, 3600, env)  # back to the unmodified build
    scored = len(caught) + len(survived)
    print()
    for f in survived:
        print("SURVIVED %s (%s): %s" % (f["id"], f["file"], f["what"]))
    if scored:
        print("score: %d of %d faults caught (%.0f %%), %d not scored" %
              (len(caught), scored, 100.0 * len(caught) / scored, len(skipped)))
    return 0 if not survived else 1


if __name__ == "__main__":
    sys.exit(main())
