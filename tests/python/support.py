"""The sample and what is known of it, in a .json beside it. MORVEX_SAMPLE names it; else the
program morvex in the folder MORVEX_TOOLS makes both."""

import json
import os
import pathlib
import subprocess
import tempfile

workspace = tempfile.TemporaryDirectory()
FOLDER = pathlib.Path(workspace.name)
SOURCE = pathlib.Path(__file__).resolve().parents[2]


def sample():
    """Path of the sample."""
    path = pathlib.Path(os.environ.get("MORVEX_SAMPLE", FOLDER / "sample.mvx"))
    if not path.exists():
        program = pathlib.Path(os.environ["MORVEX_TOOLS"]) / "morvex"
        subprocess.run([program, "sample", path, "--truth", _truth_of(path), "--nodes", "900",
                        "--steps", "5"], check=True, stderr=subprocess.DEVNULL)
    return str(path)


def truth():
    """Sizes, times and some values of each array of the sample."""
    return json.loads(_truth_of(sample()).read_text(encoding="utf-8"))


def _truth_of(path):
    return pathlib.Path(path).with_suffix(".json")
