"""Runs scenarios, each in a process and a desktop of its own, and counts."""

import argparse
import dataclasses
import importlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import traceback
from typing import Callable

from harness.processes import Failure, Skip, ended

HERE = pathlib.Path(__file__).resolve().parents[1]
RESULTS = HERE.parents[1] / "build/desktop-results"


@dataclasses.dataclass
class Scenario:
    name: str
    run: Callable
    parts: object
    limit: float
    long_limit: float


scenarios = {}


def scenario(limit=60.0, long_limit=None, over=None, **parts):
    """Marks a function as a scenario. `over` makes one for each of its values; the rest are the desktop's parts."""
    from harness.desktop import Parts

    def add(function):
        name = function.__name__
        for value in over or [None]:
            named = name if value is None else f"{name}[{value}]"
            call = function if value is None else (lambda world, value=value: function(world, value))
            scenarios[named] = Scenario(named, call, Parts(**parts), limit, long_limit or limit)
        return function

    return add


def load():
    for file in sorted((HERE / "scenarios").glob("*.py")):
        importlib.import_module(f"scenarios.{file.stem}")


# In the scenario's own process ------------------------------------------------------------------------------------


def run_child(name, folder, long):
    """Leaves its verdict in FOLDER/verdict.json and, on failure, a picture of the screen."""
    from harness.desktop import Desktop
    from harness.world import World

    found = scenarios[name]
    verdict = {"status": "passed", "text": ""}
    desktop = Desktop(folder, found.parts)
    try:
        desktop.start()
        os.environ.update(desktop.env)
        try:
            found.run(World(desktop, long))
        except Skip:
            raise
        except BaseException:
            desktop.screenshot(pathlib.Path(folder) / "screen.png")
            raise
    except Skip as skip:
        verdict = {"status": "skipped", "text": str(skip)}
    except Failure as failure:
        verdict = {"status": "failed", "text": f"{where(failure)}{failure}"}
    except BaseException as error:
        verdict = {"status": "failed", "text": traceback.format_exc()}
        if isinstance(error, SystemExit):
            verdict["text"] = "took too long: " + verdict["text"]
    finally:
        desktop.close()
    pathlib.Path(folder, "verdict.json").write_text(json.dumps(verdict))


def where(failure):
    frames = [frame for frame in traceback.extract_tb(failure.__traceback__) if "/scenarios/" in frame.filename]
    return f"{pathlib.Path(frames[-1].filename).name}:{frames[-1].lineno}: " if frames else ""


# In the runner ----------------------------------------------------------------------------------------------------


def run_scenario(found, long):
    """(status, text, seconds). What a failed scenario leaves is kept in build/desktop-results/NAME."""
    folder = pathlib.Path(tempfile.mkdtemp(prefix="pell-"))
    limit = found.long_limit if long else found.limit
    command = [sys.executable, str(HERE / "run"), "--child", found.name, "--folder", str(folder)]
    began = time.monotonic()
    with open(folder / "child.log", "wb") as log:
        child = subprocess.Popen(command + (["--long"] if long else []), stdout=log, stderr=log)
        try:
            child.wait(limit)
        except subprocess.TimeoutExpired:
            ended(child, grace=30)  # the child still takes its picture and ends its desktop
    seconds = time.monotonic() - began
    try:
        verdict = json.loads((folder / "verdict.json").read_text())
    except (OSError, ValueError):
        verdict = {"status": "failed", "text": "its process ended early: " + (folder / "child.log").read_text()[-2000:]}
    if verdict["status"] == "failed":
        keep(folder, RESULTS / found.name)
    shutil.rmtree(folder, ignore_errors=True)
    return verdict["status"], verdict["text"], seconds


def keep(folder, target):
    shutil.rmtree(target, ignore_errors=True)
    target.parent.mkdir(parents=True, exist_ok=True)
    unwanted = shutil.ignore_patterns("runtime", "firefox", "chromium", ".cache", "services")
    shutil.copytree(folder, target, ignore=unwanted, ignore_dangling_symlinks=True, symlinks=True)


def show(name, status, text, seconds):
    words = {"passed": "ok  ", "failed": "FAIL", "skipped": "skip"}
    print(f"{words[status]} {name}  {seconds:.1f} s" + (f"  ({text})" if status == "skipped" else ""), flush=True)
    if status == "failed":
        print("     " + text.strip().replace("\n", "\n     "))
        print(f"     kept: {RESULTS / name.partition(',')[0]}", flush=True)


def main(arguments):
    parser = argparse.ArgumentParser(prog="tests/desktop/run", description="Runs the desktop scenarios.")
    parser.add_argument("--long", action="store_true", help="the full counts and lengths")
    parser.add_argument("--only", action="append", metavar="NAME", help="scenarios whose name contains NAME")
    parser.add_argument("--list", action="store_true", help="name the scenarios and end")
    parser.add_argument("--again", action="store_true", help="a scenario that fails runs once more, and is told of")
    parser.add_argument("--results", metavar="FILE", help="also write the results there, as JSON")
    parser.add_argument("--child", help=argparse.SUPPRESS)
    parser.add_argument("--folder", help=argparse.SUPPRESS)
    options = parser.parse_args(arguments)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    load()
    if options.child:
        run_child(options.child, options.folder, options.long)
        return 0
    chosen = [s for s in scenarios.values() if not options.only or any(part in s.name for part in options.only)]
    if options.list:
        print("\n".join(s.name for s in chosen))
        return 0
    if not chosen:
        print("no scenario has such a name", file=sys.stderr)
        return 2
    return run_all(chosen, options)


def attempt(found, options):
    """What the scenario's last run gave. Real time on a busy machine is not a fault of the product, and what is one
    fails twice; the first failure is shown and kept all the same."""
    outcome = run_scenario(found, options.long)
    if outcome[0] == "failed" and options.again:
        show(f"{found.name}, which runs again", *outcome)
        outcome = run_scenario(found, options.long)
    show(found.name, *outcome)
    status, text, seconds = outcome
    return {"name": f"desktop {found.name}", "status": status, "text": text, "seconds": round(seconds, 1)}


def run_all(chosen, options):
    results = [attempt(found, options) for found in chosen]
    if options.results:
        pathlib.Path(options.results).write_text(json.dumps(results, indent=1))
    counts = {status: sum(r["status"] == status for r in results) for status in ("passed", "failed", "skipped")}
    print("desktop scenarios: " + ", ".join(f"{count} {status}" for status, count in counts.items()))
    return 1 if counts["failed"] else 0
