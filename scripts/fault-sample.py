#!/usr/bin/env python3
"""Measures what the tests catch: plants one fault at a time in src/, builds, runs the tests.

  scripts/fault-sample.py generate [--seed N] [--count N]   choose a new sample into fault-sample.list
  scripts/fault-sample.py run [--only ID,...] [--filter GTEST_FILTER] [--build-dir DIR]
                                               plant each fault of the list, build, test

The list is kept in the repository so that the same sample can be run before and after a change
to the tests. A fault whose line is no longer in its file is reported as "gone" rather than
silently skipped, so that a sample run against moved code says how much of it still applies.
"""

import argparse
import os
import random
import re
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
LIST = ROOT / "scripts" / "fault-sample.list"
# Only what the Linux build compiles can be caught by the Linux tests.
SKIPPED = ("src/platform/macos/", "src/app/macos/", "src/helper/")

COMPARISONS = [("<=", "<"), (">=", ">"), ("==", "!="), ("!=", "=="), ("<", "<="), (">", ">=")]
# Each kind gets its share of the sample, so that no kind crowds out the others.
# Files that read outside input: each may lose one case of what it recognises.
PARSERS = (r"(Reader|Parse|Decod|JSON|Format|Coding|StateReport|HookEvents|Invocation|Transcript|Rollout"
           r"|SessionState|ProcFiles|PowerSupplies|ProcessCensus|SettingsStore|HookStateFile)")
QUOTAS = {"comparison": 16, "constant": 14, "statement": 14, "arguments": 8, "parser": 12}


def sources():
    for path in sorted((ROOT / "src").rglob("*.cpp")):
        rel = path.relative_to(ROOT).as_posix()
        if not rel.startswith(SKIPPED):
            yield rel, path.read_text().splitlines()


def code_part(line):
    """The line without a trailing comment and without string contents, for safe matching."""
    stripped = re.sub(r'"(\\.|[^"\\])*"', '""', line)
    return stripped.split("//", 1)[0]


def candidates():
    for rel, lines in sources():
        parser = re.search(PARSERS, rel) is not None
        for number, line in enumerate(lines, 1):
            text = line.strip()
            code = code_part(line)
            if not text or text.startswith(("//", "#", "*")) or "static_assert" in text:
                continue
            for old, new in COMPARISONS:
                pattern = r"(?<![<>=!&|-])" + re.escape(old) + r"(?![<>=])"
                if old in ("<", ">") and re.search(r"\w<\w|template|::|std::|#include", code):
                    continue
                if re.search(pattern, code):
                    yield ("comparison", rel, text, re.sub(pattern, new, text, count=1))
                    break
            for match in re.finditer(r"(?<![\w.])(\d+)(?![\w.])", code):
                value = int(match.group(1))
                if value in (0, 1) or "[" in code[: match.start()][-2:]:
                    continue
                mutated = re.sub(r"(?<![\w.])" + match.group(1) + r"(?![\w.])", str(value + 1), text, count=1)
                if mutated != text:
                    yield ("constant", rel, text, mutated)
                break
            if (
                text.endswith(";")
                and not text.startswith(("return", "break", "continue", "case", "default", "}", "const ", "auto "))
                and re.match(r"^[\w.>\-\[\]:]+(\(|\s*[+\-]?=\s)", text)
                and "{" not in text
                and not re.match(r"^(std::|[A-Z]\w*\s)", text)
            ):
                yield ("statement", rel, text, "(void)0;  // fault: statement dropped")
            call = re.search(r"(\w+)\((\w+), (\w+)\)", code)
            if call and call.group(2) != call.group(3) and call.group(1) not in ("max", "min", "if", "while"):
                swapped = text.replace(
                    f"{call.group(1)}({call.group(2)}, {call.group(3)})",
                    f"{call.group(1)}({call.group(3)}, {call.group(2)})",
                    1,
                )
                if swapped != text:
                    yield ("arguments", rel, text, swapped)
            if parser:
                literal = re.search(r'(==|find\(|case |contains\(|at\(|value\(|, )\s*"([A-Za-z_][\w.-]*)"\)?', line)
                if literal:
                    yield ("parser", rel, text, text.replace(f'"{literal.group(2)}"', f'"{literal.group(2)}x"', 1))


def generate(seed, count):
    pool = {}
    seen = set()
    for kind, rel, text, mutated in candidates():
        if (rel, text) in seen or mutated == text or "\t" in text:
            continue
        seen.add((rel, text))
        pool.setdefault(kind, []).append((rel, text, mutated))
    rng = random.Random(seed)
    chosen = []
    total = sum(QUOTAS.values())
    for kind, quota in QUOTAS.items():
        share = max(1, round(quota * count / total))
        items = pool.get(kind, [])
        if kind == "parser":
            # One missing case per parser, spread over as many parsers as the share allows.
            by_file = {}
            for item in items:
                by_file.setdefault(item[0], []).append(item)
            items = [rng.choice(group) for _, group in sorted(by_file.items())]
        chosen += [(kind, *item) for item in rng.sample(items, min(share, len(items)))]
    with LIST.open("w") as out:
        out.write(f"# Fault sample, seed {seed}: id, kind, file, line as it stands, line with the fault.\n")
        for number, (kind, rel, text, mutated) in enumerate(chosen, 1):
            out.write("\t".join([f"F{number:02d}", kind, rel, text, mutated]) + "\n")
    print(f"{len(chosen)} faults written to {LIST.relative_to(ROOT)}")


def read_list():
    for line in LIST.read_text().splitlines():
        if line and not line.startswith("#"):
            yield line.split("\t")


def plant(path, text, mutated):
    lines = path.read_text().split("\n")
    for index, line in enumerate(lines):
        if line.strip() == text:
            indent = line[: len(line) - len(line.lstrip())]
            lines[index] = indent + mutated
            path.write_text("\n".join(lines))
            return True
    return False


def failed_tests(output):
    return sorted(set(re.findall(r"^\[  FAILED  \] (\w+\.\w+(?:/\w+)?)", output, re.MULTILINE)))


def run_tests(tests, env, test_filter, shards):
    """Whether the tests fail with the fault planted. The shards run side by side and the first
    failure stops the others; a failing test then runs again alone, so that a test that failed only
    under the load of the others does not count as a catch."""
    base = [str(tests), "--gtest_fail_fast", "--gtest_brief=1", f"--gtest_filter={test_filter}"]
    running = []
    outputs = {}
    for index in range(shards):
        shard_env = dict(env, GTEST_TOTAL_SHARDS=str(shards), GTEST_SHARD_INDEX=str(index))
        output = tempfile.TemporaryFile("w+")
        process = subprocess.Popen(base, env=shard_env, stdout=output, stderr=subprocess.STDOUT,
                                   start_new_session=True)
        outputs[process.pid] = output
        running.append(process)
    deadline = time.monotonic() + 900
    failing = None
    while running and failing is None:
        for process in list(running):
            if process.poll() is None:
                continue
            running.remove(process)
            if process.returncode != 0:
                outputs[process.pid].seek(0)
                failing = failed_tests(outputs[process.pid].read()) or ["*"]
        if time.monotonic() > deadline:
            failing = ["*"]
        time.sleep(0.2)
    for process in running:
        try:
            os.killpg(process.pid, 9)
        except ProcessLookupError:
            pass
        process.wait()
    if failing is None:
        return False
    if failing == ["*"]:
        return True
    again = subprocess.run([str(tests), "--gtest_brief=1", "--gtest_filter=" + ":".join(failing)], env=env,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=900)
    return again.returncode != 0


def run(only, build_dir, test_filter, shards):
    env = dict(os.environ, ASAN_OPTIONS="detect_leaks=1", UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1")
    configure = ["cmake", "-S", str(ROOT), "-B", str(build_dir), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                 "-DVIGILMOTH_SANITIZE=ON", "-DVIGILMOTH_BENCH=OFF"]
    subprocess.run(configure, check=True, stdout=subprocess.DEVNULL)
    build = ["cmake", "--build", str(build_dir), "--target", "vigilmoth_tests", "-j", str(os.cpu_count() or 2)]
    subprocess.run(build, check=True, stdout=subprocess.DEVNULL)
    tests = build_dir / "tests" / "vigilmoth_tests"
    results = {"caught": [], "missed": [], "gone": [], "does not build": []}
    for fault_id, kind, rel, text, mutated in read_list():
        if only and fault_id not in only:
            continue
        path = ROOT / rel
        original = path.read_text()
        started = time.monotonic()
        try:
            if not plant(path, text, mutated):
                outcome = "gone"
            elif subprocess.run(build, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode != 0:
                outcome = "does not build"
            else:
                outcome = "caught" if run_tests(tests, env, test_filter, shards) else "missed"
        finally:
            path.write_text(original)
        results[outcome].append(fault_id)
        print(f"{fault_id} {kind:10} {outcome:14} {time.monotonic() - started:5.0f} s  {rel}", flush=True)
    subprocess.run(build, stdout=subprocess.DEVNULL)
    viable = len(results["caught"]) + len(results["missed"])
    print(f"caught {len(results['caught'])} of {viable} faults that build"
          f" ({len(results['does not build'])} do not build, {len(results['gone'])} gone)")
    if results["missed"]:
        print("missed: " + " ".join(results["missed"]))


def main():
    parser = argparse.ArgumentParser()
    sub = parser.add_subparsers(dest="command", required=True)
    gen = sub.add_parser("generate")
    gen.add_argument("--seed", type=int, default=11)
    gen.add_argument("--count", type=int, default=66)
    runner = sub.add_parser("run")
    runner.add_argument("--only", default="")
    runner.add_argument("--build-dir", default=str(ROOT / "build" / "faults"))
    runner.add_argument("--filter", default="*", help="only these tests (a gtest filter)")
    runner.add_argument("--shards", type=int, default=3, help="test shards run side by side")
    args = parser.parse_args()
    if args.command == "generate":
        generate(args.seed, args.count)
    else:
        run(set(filter(None, args.only.split(","))), Path(args.build_dir), args.filter, args.shards)


if __name__ == "__main__":
    sys.exit(main())
