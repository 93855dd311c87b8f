"""The settings of the steps. Written by scripts/python-interface."""

from __future__ import annotations

import os
from collections.abc import Mapping, Sequence
from typing import TYPE_CHECKING, Any, Literal

from ._calls import CallOptions

if TYPE_CHECKING:
    import numpy.typing as npt


class MergeOptions(CallOptions, total=False):
    """Options of `merge`."""

    method: Literal["outlier", "stitch"] | None
    """stitch: borders are stitched in parallel; outlier: loose points off the surface go
    first."""
    preparation: Literal["always", "auto", "never"] | None
    """Whether frames are smoothed and thinned first: auto, where their noise is more than half
    of the spacing; never; always."""
    noise: float | None
    """Standard deviation in mm of depths at 1 m, which grows with the square of the depth; 0:
    measured."""
    closed_step: float | None
    """Frames of depth cameras: longest edge in mm of faces that close a step of depth where no
    frame looked through; 0: a tenth of the depth in the middle."""
    join_angle: float | None
    """Frames of depth cameras: in the end pieces are joined across creases by faces of up to
    this angle in degrees against their corners; 0: they are not."""
    layers: Literal["all", "best", "mean"] | None
    """Where frames overlap, the one that saw a place best stays, moved to the mean of all
    (mean) or as it is (best), or every frame does (all)."""
    spacing: float | None
    """mm between neighbouring points; None: measured."""
    stitch_radius: float | None
    """Half of the distance in mm in which a border looks for another one; None: one spacing."""
    long_edge: float | None
    """Border edges longer than this in mm are cut away; None: five spacings, of frames that
    are smoothed eight, or one and a half closed steps."""
    max_hole_edges: int | None
    """Holes of at most so many edges are closed."""
    min_component: int | None
    """Pieces of so many faces or fewer go."""
    neighbour_factor: int | None
    """Longest stitched edge, in spacings."""
    normal_angle: float | None
    """Largest angle between a stitched face and others, in degrees."""
    ear_edge_factor: float | None
    """Longest edge that closes an ear at first, in spacings."""
    ear_normal_angle: float | None
    """Largest turn of such an ear, in degrees."""
    cut_long_edges: bool | None
    """Of outlier: whether long border edges are cut away at all."""
    outlier_factor: float | None
    """Of outlier: multiple of the mean squared distance from the plane around beyond which a
    loose point goes; 0: none goes."""


class AlignOptions(CallOptions, total=False):
    """Options of `align`."""

    reach: float | None
    """How far frames may be off each other, in mm; None: a fiftieth of the size of a frame."""
    rounds: int | None
    """Most rounds of the refinement."""
    noise: float | None
    """Standard deviation in mm of depths at 1 m, which grows with the square of the depth;
    None: measured."""


class HolesOptions(CallOptions, total=False):
    """Options of `holes`."""

    max_perimeter: float | None
    """Only holes shorter than this in mm; None: any."""
    near: npt.ArrayLike | None
    """Only the hole nearest to this point, x y z in mm."""
    distance: float | None
    """With `near`: its rim has to be nearer than this in mm."""
    markers: npt.ArrayLike | str | os.PathLike[str] | None
    """Only holes that markers left: x y z [nx ny nz] a row, or a file."""
    match: float | None
    """With `markers`: a hole's centre has to be nearer to a marker than this in mm."""
    marker_radius: float | None
    """With `markers`: radius of a marker in mm; a longer rim than its circle is none of it."""
    normals: bool | None
    """With `markers`: a hole has to face like its marker."""
    normal_dot: float | None
    """With `normals`: their dot product has to exceed this; None: 0.5."""


class FillOptions(CallOptions, total=False):
    """Options of `fill`."""

    method: Literal["auto", "clip", "core", "markers", "trim", "whole"] | None
    """auto takes the way that suits each hole."""
    max_edges: int | None
    """Largest hole that is closed, in edges; 0: any."""
    edge_length: float | None
    """Of clip and trim: longest new edge in mm; 0: any."""
    normal_angle: float | None
    """Of clip and trim: largest turn from old to new faces, in degrees."""
    min_edges: int | None
    """Of core: smaller holes, in edges, are passed over."""
    rings: int | None
    """Of core: rings of faces around a hole that may move."""
    smoothness: int | None
    """Of core: continuous in 0 position, 1 tangent planes, 2 curvature (an order, no unit)."""
    exact_edges: int | None
    """Of core: up to so many edges every split is looked at."""
    max_patch: int | None
    """Of core: vertices of the largest patch that is faired."""
    region: Literal["delete", "none", "smooth"] | None
    """Of whole and markers: what happens to the faces around a hole."""
    region_rings: int | None
    """Of whole and markers: width of that region, in rings of faces."""
    weights: Literal["length", "uniform"] | None
    """How the neighbours of a new vertex weigh."""
    marker_radius: float | None
    """The centre of a hole at a marker is nearer to it than this, in mm."""
    small_edges: int | None
    """Of auto: holes of up to so many edges are closed with flat triangles."""
    markers: npt.ArrayLike | str | os.PathLike[str] | None
    """Places of markers: x y z [nx ny nz] a row, or a file."""
    max_perimeter: float | None
    """A hole has to be shorter than this, in mm; None: the diagonal of the box around the
    mesh."""


class RepairOptions(CallOptions, total=False):
    """Options of `repair`."""

    method: Literal["ball", "project"] | None
    """ball: a ball rolls around the borders; project: those nearby are connected in tangent
    planes."""
    spacing: float | None
    """mm between neighbouring vertices; None: measured."""
    radii: npt.ArrayLike | None
    """A pass each, in mm: of the balls, or of the search around a vertex; None: half a spacing
    to four."""
    normal_angle: float | None
    """Largest angle between a new face and the normals of its corners, in degrees."""
    manifold: bool | None
    """Whether of several fans of faces at a vertex only one stays."""
    empty_ball: bool | None
    """Of ball: whether it may hold no vertex."""
    renew_normals: bool | None
    """Of ball: whether normals are those of the faces that a pass finds."""
    delete_fans: bool | None
    """Of ball: whether smaller fans go around a face that the mesh refused."""
    refused_faces: str | None
    """Folder for the surroundings of refused faces; empty: none are written."""
    normal_z: float | None
    """Of project: cosine of the tilt against z up to which a plane is taken as it lies, no
    unit."""
    ear_perimeter: float | None
    """Holes shorter than this in mm are closed with ears; None: 25 spacings."""


class NormalsOptions(CallOptions, total=False):
    """Options of `normals`."""

    neighbours: int | None
    """So many nearest points make the plane of a point."""
    sensor: npt.ArrayLike | None
    """Where the points were seen from, in mm; None: normals look outwards."""


class KeyframesOptions(CallOptions, total=False):
    """Options of `keyframes`."""

    method: Literal["select", "sort"] | None
    """select: one view of each cell; sort: all, so that the first ones cover the space."""
    cells: int | None
    """So many cells lie along the longest side of the space of the cameras."""


class TextureOptions(CallOptions, total=False):
    """Options of `texture`."""

    pipeline: Literal["fusion", "mesh"] | None
    """fusion: large blocks of one photograph, corrected where they meet; mesh: the same in
    modules, which whole edges correct."""
    scale: float | None
    """Factor on all lengths of mesh and poses, to mm: 1000 for metres."""
    pose_scale: float | None
    """Factor on the lengths of the poses alone, to those of the mesh."""
    balance: bool | None
    """Whether the exposures of the photographs are made to agree first."""
    depth_tolerance: float | None
    """mm that a vertex may lie behind what a photograph shows in its place; None: 2.5 times
    the larger of the median edge of the mesh and the median width of a pixel on it."""
    lowest_cosine: float | None
    """Cosine of the angle between a vertex's normal and the way to the camera, no unit."""
    views_per_vertex: int | None
    """A vertex collects at most so many photographs."""
    small_region: int | None
    """Regions of one photograph count from more than so many faces."""
    hole_ratio: float | None
    """Largest picture of an unseen place, in photographs."""
    hole_vertices: int | None
    """Up to so many vertices it may be of any size."""
    image_border: int | None
    """Pixels at the rim of a photograph that do not count."""
    packing_gap: int | None
    """Pixels between the patches of the atlas; None: 1, and 3 with the pipeline "mesh"."""
    patch_margin: int | None
    """Pixels around the faces of a patch that it has too."""
    solver: Literal["pardiso", "simplicial"] | None
    """What solves for the corrections of colours."""


class RenderOptions(CallOptions, total=False):
    """Options of `render`."""

    width: int | None
    """Pixels."""
    height: int | None
    """Pixels."""
    azimuth: float | None
    """Degrees round the object, from its front to its right."""
    elevation: float | None
    """Degrees above the object."""
    up: Literal["y", "z"] | None
    """Axis that points up: y (front is +z) or z (front is -y)."""
    line_width: float | None
    """Width of the rims of holes in pixels; 0 draws none."""
    unlit: bool | None
    """Whether a texture is shown as it is, without light and shadow."""
    plain: bool | None
    """Whether colours of vertices are left out."""


class SticksOptions(CallOptions, total=False):
    """Options of `sticks`."""

    tips: Literal["down", "up"] | None
    """Where their tips lie: towards -z or +z."""


class CleanOptions(CallOptions, total=False):
    """Options of `clean`."""

    min_faces: int | None
    min_vertices: int | None
    strong: int | None
    rings: int | None
    non_manifold: bool | None
    peel: int | None
    markers: npt.ArrayLike | str | os.PathLike[str] | None
    marker_radius: float | None
    normals: bool | None
    normal_dot: float | None
    clean_ups: Sequence[Mapping[str, Any]] | None


SETTINGS: dict[str, dict[str, str]] = {
    "merge": {
        "method": "stitch: borders are stitched in parallel; outlier: loose points off the surface go first.",
        "preparation": "Whether frames are smoothed and thinned first: auto, where their noise is more than half of the spacing; never; always.",
        "noise": "Standard deviation in mm of depths at 1 m, which grows with the square of the depth; 0: measured.",
        "closed_step": "Frames of depth cameras: longest edge in mm of faces that close a step of depth where no frame looked through; 0: a tenth of the depth in the middle.",
        "join_angle": "Frames of depth cameras: in the end pieces are joined across creases by faces of up to this angle in degrees against their corners; 0: they are not.",
        "layers": "Where frames overlap, the one that saw a place best stays, moved to the mean of all (mean) or as it is (best), or every frame does (all).",
        "spacing": "mm between neighbouring points; None: measured.",
        "stitch_radius": "Half of the distance in mm in which a border looks for another one; None: one spacing.",
        "long_edge": "Border edges longer than this in mm are cut away; None: five spacings, of frames that are smoothed eight, or one and a half closed steps.",
        "max_hole_edges": "Holes of at most so many edges are closed.",
        "min_component": "Pieces of so many faces or fewer go.",
        "neighbour_factor": "Longest stitched edge, in spacings.",
        "normal_angle": "Largest angle between a stitched face and others, in degrees.",
        "ear_edge_factor": "Longest edge that closes an ear at first, in spacings.",
        "ear_normal_angle": "Largest turn of such an ear, in degrees.",
        "cut_long_edges": "Of outlier: whether long border edges are cut away at all.",
        "outlier_factor": "Of outlier: multiple of the mean squared distance from the plane around beyond which a loose point goes; 0: none goes.",
    },
    "align": {
        "reach": "How far frames may be off each other, in mm; None: a fiftieth of the size of a frame.",
        "rounds": "Most rounds of the refinement.",
        "noise": "Standard deviation in mm of depths at 1 m, which grows with the square of the depth; None: measured.",
    },
    "holes": {
        "max_perimeter": "Only holes shorter than this in mm; None: any.",
        "near": "Only the hole nearest to this point, x y z in mm.",
        "distance": "With `near`: its rim has to be nearer than this in mm.",
        "markers": "Only holes that markers left: x y z [nx ny nz] a row, or a file.",
        "match": "With `markers`: a hole's centre has to be nearer to a marker than this in mm.",
        "marker_radius": "With `markers`: radius of a marker in mm; a longer rim than its circle is none of it.",
        "normals": "With `markers`: a hole has to face like its marker.",
        "normal_dot": "With `normals`: their dot product has to exceed this; None: 0.5.",
    },
    "fill": {
        "method": "auto takes the way that suits each hole.",
        "max_edges": "Largest hole that is closed, in edges; 0: any.",
        "edge_length": "Of clip and trim: longest new edge in mm; 0: any.",
        "normal_angle": "Of clip and trim: largest turn from old to new faces, in degrees.",
        "min_edges": "Of core: smaller holes, in edges, are passed over.",
        "rings": "Of core: rings of faces around a hole that may move.",
        "smoothness": "Of core: continuous in 0 position, 1 tangent planes, 2 curvature (an order, no unit).",
        "exact_edges": "Of core: up to so many edges every split is looked at.",
        "max_patch": "Of core: vertices of the largest patch that is faired.",
        "region": "Of whole and markers: what happens to the faces around a hole.",
        "region_rings": "Of whole and markers: width of that region, in rings of faces.",
        "weights": "How the neighbours of a new vertex weigh.",
        "marker_radius": "The centre of a hole at a marker is nearer to it than this, in mm.",
        "small_edges": "Of auto: holes of up to so many edges are closed with flat triangles.",
        "markers": "Places of markers: x y z [nx ny nz] a row, or a file.",
        "max_perimeter": "A hole has to be shorter than this, in mm; None: the diagonal of the box around the mesh.",
    },
    "repair": {
        "method": "ball: a ball rolls around the borders; project: those nearby are connected in tangent planes.",
        "spacing": "mm between neighbouring vertices; None: measured.",
        "radii": "A pass each, in mm: of the balls, or of the search around a vertex; None: half a spacing to four.",
        "normal_angle": "Largest angle between a new face and the normals of its corners, in degrees.",
        "manifold": "Whether of several fans of faces at a vertex only one stays.",
        "empty_ball": "Of ball: whether it may hold no vertex.",
        "renew_normals": "Of ball: whether normals are those of the faces that a pass finds.",
        "delete_fans": "Of ball: whether smaller fans go around a face that the mesh refused.",
        "refused_faces": "Folder for the surroundings of refused faces; empty: none are written.",
        "normal_z": "Of project: cosine of the tilt against z up to which a plane is taken as it lies, no unit.",
        "ear_perimeter": "Holes shorter than this in mm are closed with ears; None: 25 spacings.",
    },
    "normals": {
        "neighbours": "So many nearest points make the plane of a point.",
        "sensor": "Where the points were seen from, in mm; None: normals look outwards.",
    },
    "keyframes": {
        "method": "select: one view of each cell; sort: all, so that the first ones cover the space.",
        "cells": "So many cells lie along the longest side of the space of the cameras.",
    },
    "texture": {
        "pipeline": "fusion: large blocks of one photograph, corrected where they meet; mesh: the same in modules, which whole edges correct.",
        "scale": "Factor on all lengths of mesh and poses, to mm: 1000 for metres.",
        "pose_scale": "Factor on the lengths of the poses alone, to those of the mesh.",
        "balance": "Whether the exposures of the photographs are made to agree first.",
        "depth_tolerance": "mm that a vertex may lie behind what a photograph shows in its place; None: 2.5 times the larger of the median edge of the mesh and the median width of a pixel on it.",
        "lowest_cosine": "Cosine of the angle between a vertex's normal and the way to the camera, no unit.",
        "views_per_vertex": "A vertex collects at most so many photographs.",
        "small_region": "Regions of one photograph count from more than so many faces.",
        "hole_ratio": "Largest picture of an unseen place, in photographs.",
        "hole_vertices": "Up to so many vertices it may be of any size.",
        "image_border": "Pixels at the rim of a photograph that do not count.",
        "packing_gap": 'Pixels between the patches of the atlas; None: 1, and 3 with the pipeline "mesh".',
        "patch_margin": "Pixels around the faces of a patch that it has too.",
        "solver": "What solves for the corrections of colours.",
    },
    "render": {
        "width": "Pixels.",
        "height": "Pixels.",
        "azimuth": "Degrees round the object, from its front to its right.",
        "elevation": "Degrees above the object.",
        "up": "Axis that points up: y (front is +z) or z (front is -y).",
        "line_width": "Width of the rims of holes in pixels; 0 draws none.",
        "unlit": "Whether a texture is shown as it is, without light and shadow.",
        "plain": "Whether colours of vertices are left out.",
    },
    "sticks": {
        "tips": "Where their tips lie: towards -z or +z.",
    },
    "check": {
        "reach": "How far frames may be off each other, in mm; None: a fiftieth of the size of a frame.",
        "rounds": "Most rounds of the refinement.",
        "noise": "Standard deviation in mm of depths at 1 m, which grows with the square of the depth; None: measured.",
    },
}
