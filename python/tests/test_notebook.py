from pathlib import Path

import nbformat
from nbclient import NotebookClient

NOTEBOOK = Path(__file__).parent.parent / "examples" / "frames_to_textured_model.ipynb"


def test_the_notebook_goes_from_frames_to_a_textured_model(tmp_path):
    notebook = nbformat.read(NOTEBOOK, as_version=4)
    resources = {"metadata": {"path": str(tmp_path)}}
    NotebookClient(notebook, timeout=240, resources=resources).execute()
    outputs = [output for cell in notebook.cells for output in cell.get("outputs", [])]
    pictures = [output for output in outputs if "image/png" in output.get("data", {})]
    assert len(pictures) == 3
    assert (tmp_path / "model.glb").read_bytes().startswith(b"glTF")
    assert outputs[-1]["data"]["text/plain"].find("'closed': True") > 0


def test_the_notebook_is_committed_without_its_outputs():
    notebook = nbformat.read(NOTEBOOK, as_version=4)
    assert not any(cell.get("outputs") for cell in notebook.cells)
