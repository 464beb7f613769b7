import os
from pathlib import Path

import pytest

REPOSITORY = Path(__file__).parents[3]


@pytest.fixture(scope="session")
def repository():
    return REPOSITORY


@pytest.fixture(scope="session")
def program():
    """The program to compare with, as built from the same sources."""
    path = os.environ.get("SVSELECT_PROGRAM", str(REPOSITORY / "build/release/bin/svselect"))
    assert os.access(path, os.X_OK), f"build the program, or set SVSELECT_PROGRAM: {path}"
    return path
