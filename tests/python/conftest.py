"""Shared set-up of the Python module's tests: where the command-line program,
the board driver and the source tree are (CTest passes them in the
environment; a run by hand from the source tree finds them in build/)."""

import os
import pathlib
import sys

import pytest

SOURCE_DIR = pathlib.Path(os.environ.get("BRINORA_SOURCE_DIR",
                                         pathlib.Path(__file__).resolve().parents[2]))
BUILD_DIR = SOURCE_DIR / "build"
if "PYTHONPATH" not in os.environ:
    sys.path.insert(0, str(BUILD_DIR / "python"))


def _tool(variable, default):
    path = pathlib.Path(os.environ.get(variable, default))
    if not path.exists():
        pytest.fail(f"{path} is missing: build it first (cmake --build build)")
    return path


@pytest.fixture(scope="session")
def cli():
    return _tool("BRINORA_CLI", BUILD_DIR / "cli" / "brinora")


@pytest.fixture(scope="session")
def board_driver():
    return _tool("BRINORA_BOARD_DRIVER", BUILD_DIR / "tests" / "python" / "brinora_python_board_driver")


@pytest.fixture(scope="session")
def source_dir():
    return SOURCE_DIR
