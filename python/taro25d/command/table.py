"""The table of commands: the parser, the help, the manual page, the completion and the tests are made of it."""

from __future__ import annotations

from typing import NamedTuple

from .. import io


class Argument(NamedTuple):
    """A file on the command line."""

    name: str
    help: str
    required: bool = True
    multiple: bool = False


class Option(NamedTuple):
    """An option; ``kind`` is one of flag, file, number, limit, positive, whole, numbers, or the choices with | between."""

    name: str
    metavar: str
    kind: str
    help: str
    required: bool = False
    multiple: bool = False
    default: object = None


class Command(NamedTuple):
    """A command; ``run`` is ``module.function`` in this package, the example is a line for a shell."""

    name: str
    summary: str
    description: str
    arguments: tuple[Argument, ...]
    options: tuple[Option, ...]
    example: str
    run: str


def list_endings() -> list[tuple[str, list[str]]]:
    """List the endings of files that can be read, and written."""
    return [("Reads", io.endings(reading=True)), ("Writes", io.endings(writing=True))]


_SOURCE = Argument("SOURCE", "points, a raster or a mesh")
_TARGET = Argument("TARGET", "the file to write; its ending decides about the format")
_JSON = Option("--json", "", "flag", "print one JSON object")
_CLASS = Option(
    "--class", "N", "whole", "of LAS files keep this class only, 2 for ground; may be repeated", multiple=True
)
_BREAKLINES = Option("--breaklines", "FILE", "file", "lines that become edges")
_BOUNDARY = Option("--boundary", "FILE", "file", "polygons; only what is inside counts")

COMMANDS = (
    Command(
        "info",
        "Tell what a file holds.",
        "Prints the format, numbers, extent and reference system of a file, and the classes of a LAS file.",
        (Argument("FILE", "points, a raster or a mesh"),),
        (_JSON,),
        "taro25d info ground.laz",
        "look.info",
    ),
    Command(
        "check",
        "Look for faults in data.",
        "Reports places where points or breaklines meet with different heights, repeated points, spikes and pits, and "
        "gaps. The exit status is 0 whatever is found.",
        (Argument("FILE", "points, a raster or a mesh"),),
        (
            _BREAKLINES,
            Option("--tolerance", "T", "limit", "heights that differ by at most this are equal", default=0.0),
            _JSON,
        ),
        "taro25d check ground.laz --breaklines streams.geojson --tolerance 0.05",
        "look.check",
    ),
    Command(
        "build",
        "Triangulate points.",
        "Triangulates points, forces breaklines into the mesh, keeps what is inside the boundary, and writes the surface.",
        (_SOURCE, _TARGET),
        (_BREAKLINES, _BOUNDARY, _CLASS),
        "taro25d build ground.laz surface.obj --class 2 --breaklines streams.geojson",
        "make.build",
    ),
    Command(
        "convert",
        "Write a file in another format.",
        "Reads any format and writes any other. Points are triangulated where the other format holds triangles. The command "
        "raster makes rasters.",
        (_SOURCE, _TARGET),
        (),
        "taro25d convert ground.laz ground.csv",
        "make.convert",
    ),
    Command(
        "contour",
        "Draw lines of equal height.",
        "Writes contour lines with their levels to a GeoPackage, Shapefile, GeoJSON or DXF. Either --interval or --levels is "
        "needed.",
        (_SOURCE, _TARGET),
        (
            Option("--interval", "H", "positive", "the height between two lines"),
            Option("--levels", "H,H", "numbers", "the heights themselves"),
        ),
        "taro25d contour ground.laz contours.gpkg --interval 2",
        "make.contour",
    ),
    Command(
        "profile",
        "Print heights along a line.",
        "Prints the distance along the line and the height of the surface, wherever the line crosses an edge; a gap in the "
        "surface is a line without a height.",
        (_SOURCE,),
        (Option("--line", "FILE", "file", "the line", required=True), _JSON),
        "taro25d profile ground.laz --line road.geojson",
        "look.profile",
    ),
    Command(
        "raster",
        "Make a raster of a surface.",
        "Writes a GeoTIFF or an ESRI ASCII grid of heights, slopes and aspects in degrees, or a hillshade from 1 to 255.",
        (_SOURCE, _TARGET),
        (
            Option("--resolution", "R", "positive", "the size of the cells", required=True),
            Option(
                "--method",
                "M",
                "linear|natural|slope|aspect|hillshade",
                "linear or natural for heights; slope, aspect, hillshade",
                default="linear",
            ),
            _BREAKLINES,
        ),
        "taro25d raster ground.laz shade.tif --resolution 5 --method hillshade",
        "make.raster",
    ),
    Command(
        "volume",
        "Compare two surfaces.",
        "Prints how much was cut, where BEFORE is higher, and how much was filled, in cubic units of the coordinates.",
        (Argument("BEFORE", "the earlier surface"), Argument("AFTER", "the later one")),
        (
            _BOUNDARY,
            Option("--threshold", "T", "limit", "differences up to this count as none", default=0.0),
            _JSON,
        ),
        "taro25d volume before.xyz after.xyz --threshold 0.02",
        "look.volume",
    ),
    Command(
        "simplify",
        "Keep as few points as it takes.",
        "Chooses points so that no point of SOURCE is farther from the surface than E, measured vertically, and writes it. A "
        "surface with bays or holes keeps its border.",
        (_SOURCE, _TARGET),
        (
            Option("--max-error", "E", "limit", "the largest vertical distance of a point", required=True),
            Option("--certified", "", "flag", "keep the limit also between the points"),
            _BREAKLINES,
            _CLASS,
        ),
        "taro25d simplify ground.laz fewer.laz --max-error 0.5",
        "make.simplify",
    ),
    Command(
        "mesh",
        "Refine a surface to a mesh for computation.",
        "Inserts vertices until no angle is smaller than A and no edge is longer than L.",
        (_SOURCE, _TARGET),
        (
            Option("--max-edge", "L", "positive", "the longest edge"),
            Option("--min-angle", "A", "number", "the smallest angle in degrees, at most 30", default=25.0),
            _BREAKLINES,
            _BOUNDARY,
            _CLASS,
        ),
        "taro25d mesh before.xyz mesh.vtk --max-edge 20",
        "make.mesh",
    ),
    Command(
        "view",
        "Look at a surface in a browser.",
        "Writes a page that shows the surface in space, and opens it. The page needs no network. Without TARGET it is a "
        "temporary file, whose path is printed.",
        (_SOURCE, Argument("TARGET", "the page to write", required=False)),
        (_BREAKLINES, _CLASS, Option("--no-browser", "", "flag", "write the page only")),
        "taro25d view ground.laz ground.html --no-browser",
        "look.view",
    ),
    Command(
        "tile",
        "Triangulate more points than memory holds.",
        "Triangulates points tile by tile, on several processors, into a folder of Parquet files. A run that was stopped goes "
        "on where it was when it is started again in the same words. Terrain tiles come with a page that shows them, which a "
        "web server has to hand out, such as python3 -m http.server --directory FOLDER.",
        (
            Argument("SOURCE", "points or rasters, which belong together", multiple=True),
            Argument("FOLDER", "where the tiles go"),
        ),
        (
            Option("--points-per-tile", "N", "whole", "the most points of a tile", default=2_000_000),
            Option("--workers", "N", "whole", "how many processes work; as many as there are processors without it"),
            Option("--terrain", "FOLDER", "file", "also write terrain tiles for the web into this folder"),
            _CLASS,
        ),
        "taro25d tile ground.laz tiles --points-per-tile 1000 --terrain web",
        "tile.tile",
    ),
)
