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


def get_usage(command: Command) -> str:
    """Return arguments and options as a line; optional ones are in brackets."""
    names = [argument.name + ("..." if argument.multiple else "") for argument in command.arguments]
    words = [
        name if argument.required else f"[{name}]" for name, argument in zip(names, command.arguments, strict=True)
    ]
    for option in command.options:
        word = f"{option.name} {option.metavar}".strip()
        words.append(word if option.required else f"[{word}]")
    return " ".join(words)


def list_endings() -> list[tuple[str, list[str]]]:
    """List the endings of files that can be read, and written."""
    return [("Reads", io.endings(reading=True)), ("Writes", io.endings(writing=True))]


_SOURCE = Argument("SOURCE", "points, a raster or a mesh")
_TARGET = Argument("TARGET", "the file to write; its ending determines the format")
_JSON = Option("--json", "", "flag", "print one JSON object")
_CLASS = Option(
    "--class", "N", "whole", "keep only this class of a LAS file, such as 2 for ground; may be repeated", multiple=True
)
_BREAKLINES = Option("--breaklines", "FILE", "file", "lines that become edges of the surface")
_GAPS = Option("--gaps", "", "flag", "of rasters, leave gaps where cells have no height")
_BOUNDARY = Option("--boundary", "FILE", "file", "polygons; only the ground inside counts")

COMMANDS = (
    Command(
        "info",
        "Show what a file contains.",
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
            Option("--tolerance", "T", "limit", "height differences up to T are not reported", default=0.0),
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
        (_BREAKLINES, _BOUNDARY, _CLASS, _GAPS),
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
        "Writes contour lines with their levels to a GeoPackage, Shapefile, GeoJSON or DXF. Give either --interval or "
        "--levels.",
        (_SOURCE, _TARGET),
        (
            Option("--interval", "H", "positive", "the height difference between neighbouring contours"),
            Option("--levels", "H,H", "numbers", "the heights of the contours"),
            _GAPS,
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
        (Option("--line", "FILE", "file", "the line", required=True), _GAPS, _JSON),
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
                "linear or natural (heights), slope, aspect or hillshade",
                default="linear",
            ),
            _BREAKLINES,
            _GAPS,
        ),
        "taro25d raster ground.laz shade.tif --resolution 5 --method hillshade",
        "make.raster",
    ),
    Command(
        "volume",
        "Compare two surfaces.",
        "Prints how much was cut, where BEFORE is higher, and how much was filled, in cubic units of the coordinates.",
        (Argument("BEFORE", "the earlier surface"), Argument("AFTER", "the later surface")),
        (
            _BOUNDARY,
            Option(
                "--threshold", "T", "limit", "ground whose heights differ by at most T counts as unchanged", default=0.0
            ),
            Option(
                "--components",
                "FILE",
                "file",
                "a GeoPackage, Shapefile or GeoJSON to write: connected pieces of cut and fill as polygons, with volume, "
                "area, mean and maximum depth",
            ),
            _GAPS,
            _JSON,
        ),
        "taro25d volume before.xyz after.xyz --threshold 0.02",
        "look.volume",
    ),
    Command(
        "simplify",
        "Keep only the points that a given accuracy needs.",
        "Chooses points such that no point of SOURCE is farther than E from their surface, measured vertically, and writes "
        "that surface. A surface with bays or holes keeps its border.",
        (_SOURCE, _TARGET),
        (
            Option("--max-error", "E", "limit", "the largest vertical distance of a point", required=True),
            Option("--certified", "", "flag", "keep the limit between the points as well"),
            _BREAKLINES,
            _CLASS,
            _GAPS,
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
            _GAPS,
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
        (_BREAKLINES, _CLASS, _GAPS, Option("--no-browser", "", "flag", "write the page only")),
        "taro25d view ground.laz ground.html --no-browser",
        "look.view",
    ),
    Command(
        "tile",
        "Triangulate more points than fit into memory.",
        "Triangulates points tile by tile, on several processors, into a folder of Parquet files. After an interruption the "
        "same command continues the run. Terrain tiles come with a page that shows them; a web server must serve it, for "
        "example python3 -m http.server --directory FOLDER.",
        (
            Argument("SOURCE", "points or rasters of one surface", multiple=True),
            Argument("FOLDER", "the folder of the tiles"),
        ),
        (
            Option("--points-per-tile", "N", "whole", "the most points of a tile", default=2_000_000),
            Option("--workers", "N", "whole", "the number of processes; without it, one for each processor"),
            Option("--terrain", "FOLDER", "file", "also write terrain tiles for the web into this folder"),
            _CLASS,
        ),
        "taro25d tile ground.laz tiles --points-per-tile 1000 --terrain web",
        "tile.tile",
    ),
)
