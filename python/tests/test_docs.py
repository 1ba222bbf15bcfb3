"""The examples of docs/python.md run, and the type stubs name what the module has."""

import ast
import os
import re
from pathlib import Path

import pytest

import morva
from morva import _morva

DOCS = Path(os.environ.get("MORVA_DOCS", Path(__file__).resolve().parents[2] / "docs")) / "python.md"
STUBS = Path(morva.__file__).with_name("_morva.pyi")


def test_the_examples_run_in_order(tmp_path, monkeypatch):
    blocks = re.findall(r"```python\n(.*?)```", DOCS.read_text(), re.S)
    assert len(blocks) >= 6
    monkeypatch.chdir(tmp_path)
    namespace = {}
    for number, block in enumerate(blocks, 1):
        exec(compile(block, f"{DOCS.name} example {number}", "exec"), namespace)


def stub_names(node):
    return {item.name for item in node.body if isinstance(item, (ast.FunctionDef, ast.ClassDef))} | \
        {item.target.id for item in node.body if isinstance(item, ast.AnnAssign)}


def test_the_stubs_name_everything_the_module_has():
    tree = ast.parse(STUBS.read_text())
    assert stub_names(tree) == {name for name in dir(_morva) if not name.startswith("__")}
    classes = {item.name: item for item in tree.body if isinstance(item, ast.ClassDef)}
    for name, stub in classes.items():
        public = {n for n in dir(getattr(_morva, name)) if not n.startswith("_") or n == "__array__"}
        assert stub_names(stub) - {"__init__"} == public, name


@pytest.mark.parametrize("name", [n for n in morva.__all__])
def test_public_names_have_docstrings(name):
    assert getattr(morva, name).__doc__
