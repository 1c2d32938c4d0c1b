import os
import shutil

import pytest

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLES = os.environ.get("QZ3_EXAMPLES", os.path.join(HERE, "..", "..", "examples"))


@pytest.fixture
def example():
    """The path of a bundled example schematic."""
    return lambda name: os.path.join(EXAMPLES, name)


@pytest.fixture
def scratch_copy(tmp_path):
    """A private copy of an example, for tests that save."""
    def copy(name):
        target = tmp_path / name
        shutil.copyfile(os.path.join(EXAMPLES, name), target)
        return str(target)
    return copy
