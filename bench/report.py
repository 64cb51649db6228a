"""What the benchmarks beside a PTP service have in common: the release build, the options and the table."""

import argparse
import json
import os
import platform
import signal
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "end_to_end"))  # a benchmark imports this module first


def options(description):
    """A parser with the options that every benchmark has. From now on SIGTERM ends contexts, too."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--json", metavar="FILE", help="write the results there, too")
    return parser


def progress(text):
    print(text, file=sys.stderr, flush=True)


def use_release_build(*targets):
    """Builds the daemon, or what is named, optimised, and has the helpers of the tests start that one."""
    run("scripts/install-packages", "build", "test", *(["bench"] if targets else []))
    build = ROOT / "build" / "release"
    progress("building the release preset")
    if not (build / "build.ninja").exists() or "agent_bench" in targets:
        run("cmake", "--preset", "release", *(["-DPTPSNMP_BUILD_BENCHMARKS=ON"] if targets else []))
    run("cmake", "--build", "--preset", "release", "--target", *(targets or ["ptpsnmpd"]))
    os.environ["PTPSNMPD"] = str(build / "host" / "ptpsnmpd")


def run(*arguments):
    subprocess.run(arguments, cwd=ROOT, stdout=sys.stderr, check=True)


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        models = [line.partition(":")[2].strip() for line in lines if line.startswith("model name")]
    return {"cpu": models[0] if models else platform.machine(), "cores": os.cpu_count(),
            "load": round(os.getloadavg()[0], 1), "kernel": platform.release()}


def publish(name, rows, file, target, met, **more):
    """Prints rows, dictionaries with the same keys, as a table in Markdown, with the target and the machine."""
    here = machine()
    lines = [list(rows[0]), *([str(value) for value in row.values()] for row in rows)]
    widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
    lines.insert(1, ["-" * width for width in widths])
    for line in lines:
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |")
    print(f"\nTarget: {target}: {'met' if met else 'MISSED'}.")
    print(f"{here['cpu']}, {here['cores']} cores, load {here['load']} at the end, Linux {here['kernel']}.")
    if file:
        with open(file, "w", encoding="utf-8") as out:
            results = {"benchmark": name, "machine": here, "target": target, "met": met, "rows": rows, **more}
            json.dump(results, out, indent=1)
            out.write("\n")
