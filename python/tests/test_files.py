import json
import os
from pathlib import Path

import algorithmveld as veld
import numpy as np
import pytest
from scans import grid, sphere_frame, sphere_frames, sphere_mesh


@pytest.mark.parametrize("extension", ["ply", "obj", "off", "om"])
def test_files_bring_a_mesh_back(tmp_path, extension):
    mesh = sphere_mesh(8)
    path = tmp_path / f"mesh.{extension}"
    veld.save(mesh, path)
    back = veld.load_mesh(path)
    np.testing.assert_array_equal(back.vertices, mesh.vertices)
    np.testing.assert_array_equal(back.faces, mesh.faces)


def test_the_path_of_a_mesh_does_for_a_mesh(tmp_path):
    path = tmp_path / "mesh.ply"
    veld.Mesh(*grid(7, hole=True)).save(path)
    assert veld.info(path).holes == 2
    assert veld.fill(str(path)).holes_after == 1


def test_names_of_files_may_have_any_letters(tmp_path):
    path = tmp_path / "Öl \u5b57 %s.ply"
    veld.save(sphere_mesh(8), path)
    assert len(veld.load_mesh(path).faces) == len(sphere_mesh(8).faces)


def test_names_of_files_may_be_of_any_bytes(tmp_path):
    folder = tmp_path / os.fsdecode(b"caf\xe9")
    folder.mkdir()
    path = folder / os.fsdecode(b"\xff.ply")
    with pytest.raises(veld.InputError) as caught:
        veld.load_mesh(path)
    assert str(path) in str(caught.value)
    with pytest.raises(veld.InputError, match="its name is no UTF-8"):
        veld.frames(sphere_frames(24), folder / "frames")
    path.write_bytes(b"")
    (folder / "fin.off").write_text("OFF\n3 2 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n3 0 0 1\n")
    with pytest.warns(veld.VeldWarning) as warned:
        veld.load_mesh(folder / "fin.off")
    assert warned[0].message.about == str(folder / "fin.off")
    veld.save(veld.Mesh(*grid(7, hole=True)), path)
    lines = []
    result = veld.run(path, folder / "out", tell=lines.append)
    assert str(path) in lines[0]
    assert len(result.mesh.faces) > 70
    assert (folder / "out" / "report.html").is_file()


def test_a_file_that_is_there_can_be_kept(tmp_path):
    path = tmp_path / "mesh.ply"
    veld.save(sphere_mesh(8), path)
    before = path.read_bytes()
    with pytest.raises(veld.Error, match=r"mesh\.ply"):
        veld.save(sphere_mesh(9), path, overwrite=False)
    assert path.read_bytes() == before
    veld.save(sphere_mesh(9), path)
    assert path.read_bytes() != before


def test_unknown_and_damaged_files_are_refused(tmp_path):
    with pytest.raises(veld.InputError, match="extension"):
        veld.save(sphere_mesh(8), tmp_path / "mesh.xyz")
    (tmp_path / "damaged.ply").write_bytes(b"ply\nformat ascii 1.0\nelement vertex 9\n")
    with pytest.raises(veld.InputError, match=r"damaged\.ply"):
        veld.load_mesh(tmp_path / "damaged.ply")
    with pytest.raises(veld.InputError, match="a int has no form as a file"):
        veld.save(7, tmp_path / "seven.ply")


def test_clouds_are_read_from_text(tmp_path):
    path = tmp_path / "cloud.xyz"
    path.write_text("0 0 0\n1 2 3\n")
    np.testing.assert_array_equal(veld.load_mesh(path, cloud=True).vertices, [[0, 0, 0], [1, 2, 3]])


def textured_grid():
    vertices, faces = grid(3)
    image = np.zeros((8, 8, 3), np.uint8)
    image[..., 0] = 250
    return veld.Mesh(vertices, faces, texcoords=vertices[faces][..., :2] / 2, image=image)


def test_textured_models_are_written_with_their_image(tmp_path):
    veld.save(textured_grid(), tmp_path / "model.obj")
    assert {path.name for path in tmp_path.iterdir()} == {"model.obj", "model.mtl", "model.jpg"}
    back = veld.load_mesh(tmp_path / "model.obj")
    assert back.image[..., 0].min() > 200
    assert back.image[..., 2].max() < 50
    np.testing.assert_allclose(back.texcoords, textured_grid().texcoords, atol=1e-6)


def test_glb_files_hold_a_textured_model(tmp_path):
    veld.save(textured_grid(), tmp_path / "model.glb")
    assert (tmp_path / "model.glb").read_bytes().startswith(b"glTF")
    with pytest.raises(veld.InputError, match=r"plain\.glb: a GLB file holds a texture"):
        veld.save(sphere_mesh(8), tmp_path / "plain.glb")
    assert not (tmp_path / "plain.glb").exists()


def test_pictures_are_written(tmp_path):
    picture = veld.render(sphere_mesh(8), width=40, height=30)
    veld.save(picture, tmp_path / "sphere.png")
    picture.save(tmp_path / "sphere.jpg")
    assert (tmp_path / "sphere.png").read_bytes().startswith(b"\x89PNG")
    assert (tmp_path / "sphere.jpg").read_bytes().startswith(b"\xff\xd8")
    pil = pytest.importorskip("PIL.Image")
    np.testing.assert_array_equal(np.asarray(pil.open(tmp_path / "sphere.png")), picture)


def test_pictures_of_other_numbers_are_refused(tmp_path):
    for picture in (np.ones((4, 4, 3)), np.ones((4, 4, 3), np.int64), np.ones((4, 4), np.uint8)):
        with pytest.raises(veld.InputError, match=r"'picture' has to be of shape .* and uint8"):
            veld.save(picture, tmp_path / "picture.png")
        with pytest.raises(veld.InputError, match=r"'picture' has to be of shape .* and uint8"):
            picture.view(veld.Picture).save(tmp_path / "picture.png")
    assert list(tmp_path.iterdir()) == []


def test_saving_a_picture_can_be_cancelled(tmp_path):
    cancel = veld.Cancel()
    cancel.cancel()
    picture = veld.render(sphere_mesh(8), width=40, height=30)
    with pytest.raises(veld.Cancelled):
        veld.save(picture, tmp_path / "sphere.png", cancel=cancel)
    assert list(tmp_path.iterdir()) == []


def test_frames_are_written_and_come_back(tmp_path):
    frames = sphere_frames(24)
    written = veld.frames(frames, tmp_path / "frames")
    assert [Path(frame["file"]).name for frame in written.frames][:2] == [
        "frame-0000.rge",
        "frame-0001.rge",
    ]
    back = veld.load_frames(tmp_path / "frames")
    assert len(back) == len(frames)
    np.testing.assert_array_equal(back[3].points, frames[3].points)
    np.testing.assert_array_equal(back[3].cells, frames[3].cells)
    np.testing.assert_allclose(back[3].pose, frames[3].pose)


def test_markers_and_seeds_are_read_from_files(tmp_path):
    (tmp_path / "markers.txt").write_text("3.5 3.5 0  # the middle\n")
    mesh = veld.Mesh(*grid(7, hole=True))
    found = veld.holes(mesh, markers=tmp_path / "markers.txt", match=2, marker_radius=2)
    assert len(found.holes) == 1
    (tmp_path / "seeds.txt").write_text("0 0 0\n")
    with pytest.raises(veld.InputError, match=r"seeds\.txt"):
        veld.sticks(mesh, tmp_path / "seeds.txt")


def test_a_run_takes_all_steps_that_fit(tmp_path):
    veld.frames(sphere_frames(24), tmp_path / "frames")
    lines = []
    result = veld.run(tmp_path / "frames", tmp_path / "out", tell=lines.append, pictures=False)
    assert result.steps[0]["name"] == "merge"
    assert lines
    assert result.to_dict()["from_before"] == 0
    assert json.loads((tmp_path / "out" / "run.json").read_text())["steps"]
    assert veld.info(result.mesh).faces > 500
    again = veld.run(tmp_path / "frames", tmp_path / "out", pictures=False)
    assert again.from_before > 0
    with pytest.raises(veld.Error):
        veld.run(tmp_path / "frames", tmp_path / "out", overwrite=False, pictures=False)


def test_a_run_takes_a_recipe(tmp_path):
    veld.save(veld.Mesh(*grid(7, hole=True)), tmp_path / "mesh.ply")
    recipe = {"veld_recipe": 1, "steps": [{"step": "fill", "settings": {"method": "trim"}}]}
    result = veld.run(tmp_path / "mesh.ply", tmp_path / "out", recipe=recipe, pictures=False)
    assert [step["name"] for step in result.steps] == ["fill"]
    recipe["steps"][0]["settings"]["method"] = "glue"
    with pytest.raises(veld.InputError, match=r"recipe.*method"):
        veld.run(tmp_path / "mesh.ply", tmp_path / "other", recipe=recipe)


@pytest.mark.parametrize("value", [float("nan"), float("inf"), np.float32("-inf")])
def test_a_recipe_has_only_numbers_that_files_can_have(tmp_path, value):
    veld.save(veld.Mesh(*grid(7, hole=True)), tmp_path / "mesh.ply")
    step = {"step": "fill", "settings": {"max_perimeter": value}}
    recipe = {"veld_recipe": 1, "steps": [step]}
    for use in (veld.check_recipe, lambda it: veld.run(tmp_path / "mesh.ply", "out", recipe=it)):
        with pytest.raises(veld.InputError, match="max_perimeter' has to be a finite number"):
            use(recipe)


def test_a_recipe_is_checked_by_itself(tmp_path):
    whole = veld.check_recipe({"veld_recipe": 1, "steps": [{"step": "fill"}]})
    assert whole["steps"][0]["settings"]["max_perimeter"] is None
    assert veld.check_recipe(whole) == whole
    usual = veld.check_recipe(veld.usual_recipe())
    assert veld.check_recipe(usual) == usual
    file = tmp_path / "recipe.json"
    file.write_text('{"veld_recipe": 1,\n "steps": [{"step": "glue"}]}')
    with pytest.raises(veld.InputError, match=r"recipe\.json:2: steps\[0\]\.step"):
        veld.check_recipe(file)


def test_the_usual_recipe_can_be_looked_at(tmp_path):
    assert veld.usual_recipe()["steps"][0]["step"] == "merge"
    veld.save(veld.Mesh(*grid(7, hole=True)), tmp_path / "mesh.ply")
    steps = [step["step"] for step in veld.usual_recipe(tmp_path / "mesh.ply")["steps"]]
    assert "merge" not in steps
    assert "fill" in steps


def test_one_frame_is_refused_by_what_compares_frames():
    with pytest.raises(veld.InputError):
        veld.check([sphere_frame(0)])
