"""A scan in tiles: step by step, and in one call."""

import itertools
import json

import algorithmveld as veld
import pytest
from algorithmveld import _core
from scans import sphere_frames

DIVISION = {"tile_points": 3000, "tile_margin": 12.0, "max_hole_edges": 12}


@pytest.fixture(scope="module")
def scan(tmp_path_factory):
    folder = tmp_path_factory.mktemp("scan") / "frames"
    veld.frames(sphere_frames(), folder)
    return folder


@pytest.fixture(scope="module")
def alone(scan, tmp_path_factory):
    """The bytes of the mesh that one process makes."""
    mesh = tmp_path_factory.mktemp("alone") / "mesh.ply"
    veld.merge_in_tiles(scan, mesh, **DIVISION)
    return mesh.read_bytes()


def test_the_steps_one_by_one_give_the_mesh_of_all_at_once(scan, alone, tmp_path):
    work, mesh = tmp_path / "work", tmp_path / "mesh.ply"
    plan = veld.plan_tiles(scan, work, **DIVISION)
    assert len(plan.tiles) > 2
    assert sum(tile["points"] for tile in plan.tiles) == plan.points
    assert max(tile["points"] for tile in plan.tiles) <= 3000
    assert plan.settings["max_hole_edges"] == 12
    tiles = range(len(plan.tiles))
    thin = [veld.thin_tile(work, tile) for tile in tiles]
    assert [one.points for one in thin] == [t["points"] + t["margin"] for t in plan.tiles]
    merged = [veld.merge_tile(work, tile) for tile in reversed(tiles)]
    joined = veld.join_tiles(work, mesh)
    assert joined.faces > sum(one.faces for one in merged)  # and those over seams
    assert mesh.read_bytes() == alone
    assert veld.info(mesh).faces == joined.faces
    assert veld.plan_tiles(scan, work, **DIVISION).found
    assert veld.thin_tile(work, 0).found
    assert veld.merge_tile(work, 0).found


def test_all_at_once_tells_each_tile_and_keeps_what_it_is_asked_to(scan, alone, tmp_path):
    told, steps = [], []
    first = veld.merge_in_tiles(
        scan, tmp_path / "a.ply", folder=tmp_path / "work", done=lambda *of: told.append(of),
        progress=lambda step, fraction: steps.append(fraction), **DIVISION,
    )  # fmt: skip
    assert (tmp_path / "a.ply").read_bytes() == alone
    assert [tile for tile, _, _ in told] == list(range(len(first.tiles)))
    assert told[0][2].to_dict() == first.tiles[0]["merge"]
    assert told[0][1].to_dict() == first.tiles[0]["thin"]
    assert all(b > a - 1e-9 for a, b in itertools.pairwise(steps))
    assert steps[-1] == pytest.approx(1.0)
    again = veld.merge_in_tiles(scan, tmp_path / "b.ply", folder=tmp_path / "work", **DIVISION)
    assert all(tile["thin"]["found"] and tile["merge"]["found"] for tile in again.tiles)
    assert (tmp_path / "b.ply").read_bytes() == alone
    assert sorted(path.name for path in tmp_path.iterdir()) == ["a.ply", "b.ply", "work"]


def test_defaults_are_those_of_the_library(scan, tmp_path):
    library = _core.plan_tiles(scan, tmp_path / "work", {}, {}, {}, _core.Call(None, None, 0))
    mine = veld.plan_tiles(scan, tmp_path / "work")
    assert mine.found
    assert (mine.tile_points, mine.margin) == (library["tile_points"], library["margin"])
    assert json.loads(mine.to_json())["tiles"] == library["tiles"]


@pytest.mark.parametrize(
    ("wrong", "reason"),
    [
        ({"tile_points": 0}, "'tile_points' has to be"),
        ({"tile_points": 1.5}, "'tile_points' has to be a whole number"),
        ({"tile_margin": 7}, "'tile_margin' has to be"),
        ({"scale": -1}, "'scale'"),
        ({"method": "outlier"}, "tiles are stitched"),
        ({"wrong": 1}, "'wrong'"),
    ],
)
def test_a_wrong_setting_is_refused_before_anything_is_made(scan, tmp_path, wrong, reason):
    with pytest.raises(veld.InputError, match=reason):
        veld.plan_tiles(scan, tmp_path / "work", **wrong)
    with pytest.raises(veld.InputError, match=reason):
        veld.merge_in_tiles(scan, tmp_path / "mesh.ply", **wrong)
    assert list(tmp_path.iterdir()) == []


def test_a_step_that_comes_too_early_names_the_file(scan, tmp_path):
    with pytest.raises(veld.InputError, match=r"plan\.json"):
        veld.thin_tile(tmp_path, 0)
    plan = veld.plan_tiles(scan, tmp_path / "work", **DIVISION)
    with pytest.raises(veld.InputError, match="thin"):
        veld.merge_tile(tmp_path / "work", 0)
    with pytest.raises(veld.InputError, match=r"mesh\.tile"):
        veld.join_tiles(tmp_path / "work", tmp_path / "mesh.ply")
    with pytest.raises(veld.InputError, match=f"there is no tile {len(plan.tiles)}"):
        veld.thin_tile(tmp_path / "work", len(plan.tiles))


def test_no_file_is_replaced_against_the_will_of_the_host(scan, tmp_path):
    mesh = tmp_path / "mesh.ply"
    mesh.write_text("mine")
    with pytest.raises(veld.Error, match=r"mesh\.ply"):
        veld.merge_in_tiles(scan, mesh, overwrite=False, **DIVISION)
    with pytest.raises(veld.InputError, match=r"\.ply"):
        veld.merge_in_tiles(scan, tmp_path / "mesh.stl", **DIVISION)
    assert mesh.read_text() == "mine"


def test_a_cancelled_merge_goes_on_where_it_was(scan, alone, tmp_path):
    cancel = veld.Cancel()
    with pytest.raises(veld.Cancelled):
        veld.merge_in_tiles(
            scan, tmp_path / "mesh.ply", folder=tmp_path / "work", cancel=cancel,
            done=lambda tile, thin, merged: cancel.cancel(), **DIVISION,
        )  # fmt: skip
    assert not (tmp_path / "mesh.ply").exists()
    result = veld.merge_in_tiles(scan, tmp_path / "mesh.ply", folder=tmp_path / "work", **DIVISION)
    assert all(tile["thin"]["found"] for tile in result.tiles)
    assert result.tiles[0]["merge"]["found"]
    assert not result.tiles[-1]["merge"]["found"]
    assert (tmp_path / "mesh.ply").read_bytes() == alone


def test_what_a_host_raises_for_a_tile_reaches_it(scan, tmp_path):
    def refuse(tile, thin, merged):
        raise RuntimeError("enough")

    with pytest.raises(RuntimeError, match="enough"):
        veld.merge_in_tiles(scan, tmp_path / "mesh.ply", done=refuse, **DIVISION)
    assert list(tmp_path.iterdir()) == []
