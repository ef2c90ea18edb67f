#pragma once

namespace LUMO_TARO25D {

// Every tolerance of the library. Exact predicates need none, and bounds of rounding errors are defined beside their
// proofs (GeomTest, circumcenter, expansion, PointFan, TrianglePlane, TileMesh). Each tolerance has its unit, its
// reason and, in parentheses, its user; docs/robustness.md lists them with the test that notices a change.

// ---- Places: shares of the largest coordinate of the objects compared ----

/// 4 to 8 units in the last place, the error of a computed point on a line or crossing of two lines. Two places nearer
/// than this may be meant to be one, and a vertex that is nearer to a segment lies on it (nearness.h, cuts).
constexpr double RESOLUTION = 0x1p-50;
/// A vertex that is nearer than this to an end of a segment is not moved onto the segment: so close to an end, a
/// spacing of a few rounding errors may be input, which must be decided exactly (isBeside).
constexpr double END_ZONE = 0x1p-40;
/// A crossing whose x and y differ from those of an end of a segment by no more than this share of themselves is a
/// crossing in the last bits; the number of these is limited (SegmentInserter).
constexpr double NEXT_TO_END = 0x1p-49;
/// A conforming piece that is shorter in x and in y is not halved any more: its midpoint would round to an end
/// (ConformingInserter).
constexpr double MIN_PIECE = 10 * 0x1p-52;
/// A barycentre that is nearer to a side of its triangle is no seed of a zone: each crossing with another segment may
/// bend the border by RESOLUTION (ZoneMgr).
constexpr double MIN_SEED_CLEARANCE = 0x1p-46;
/// A circumcircle with a smaller radius contains too few doubles for refinement to go on (RefCand3).
constexpr double MIN_RADIUS = 16 * 0x1p-52;
/// A sliver at the border of a surface, or a gap between two surfaces, that is no wider than this comes from rounding
/// of coordinates (CutAndFillImpl).
constexpr double WELDING_DISTANCE = 0x1p-48;
/// Share of the coordinates: a node of bands that is nearer than this to a side lies on it (SideRouter).
constexpr double BAND_RESOLUTION = 0x1p-49;
/// Share of the extent of two triangles and of the length of a side: the greatest distance by rounding between the line
/// of the side and a corner of their overlay (OverlayPiece).
constexpr double MAX_SIDE_ERROR = 0x1p-48;

// ---- Lengths ----

/// In the unit of the coordinates: a crossing nearer to an end of one of its segments is that end. Fixed, since clients
/// expect it for metres (SegmentInserter).
constexpr double SNAP_DISTANCE = 1e-6;
/// Share of the length of a segment, and units in the last place of its largest coordinate: a point farther off is not
/// on the segment and cannot split it (isOffSegment).
constexpr double MAX_OFFSET = 1e-6, MAX_OFFSET_UNITS = 4.0;
/// In the unit of the coordinates, four times SNAP_DISTANCE: the sides of a narrower triangle may merge
/// (CutAndFillImpl), ...
constexpr double MIN_SLIVER_WIDTH = 4.0 * SNAP_DISTANCE;
/// ... if its width is also below this share of its length.
constexpr double MAX_SLIVER_RATIO = 1e-4;
/// Share of the extent of two surfaces: a narrower strip has a negligible volume (CutAndFillImpl).
constexpr double NEGLIGIBLE_WIDTH = 0x1p-34;
/// Share of a squared radius: the search for vertices in a circle uses one this much larger, so that rounding loses
/// none; each vertex found is then tested (getVerticesNearby).
constexpr double SEARCH_MARGIN = 1e-9;
/// Share of a distance, and of the longest side of a triangle: triangles this much farther away are searched too, which
/// is far above the rounding error of the distance; each vertex found is then tested (RegionSearch).
constexpr double REGION_MARGIN = 1e-12;
/// Share of the area of a polygon, and of its circumference times its resolution: the greatest difference by rounding
/// between that area and the area inside the cut (CookieCutter).
constexpr double MAX_AREA_ERROR = 1e-6, MAX_BORDER_ERROR = 64.0;
/// Share of the squared extent of triangles: an overlay of larger area is no artefact of rounding along a common side
/// (OverlayPiece), and a triangle of larger area must be found although its centre is rounded out of it (InnerSurface).
constexpr double MIN_PIECE_AREA = 0x1p-30;
/// Share of the squared extent of a triangle: if its doubled area is smaller, overlays at its corners may be connected
/// with the others only by overlays that are mere rounding (compareSurfaces).
constexpr double MIN_WIDE_AREA = 0x1p-12;

// ---- Heights ----

/// In the unit of the heights: a height on the plane of a triangle may leave the range of its corners by this, and the
/// longest edges of a thin one may disagree by it (heights.cpp).
constexpr double HEIGHT_TOLERANCE = 0.001;
/// Twice the area of a triangle as a share of the square of its longer side: below this, heights on its plane would
/// have a rounding error of more than 1e-7 of their range, and rationals compute them (heights.cpp, FacePlane).
constexpr double MIN_PLANE_DETERMINANT = 0x1p-19;
/// Share of the range of heights around an edge: a vertex beside the edge whose height differs by less from that of the
/// edge lies on it (SurfaceCutter).
constexpr double MAX_CREASE = 0x1p-30;
/// Share of heights, and of coordinates times the slope: two surfaces that differ by less at a place are equal there
/// (OverlayPiece).
constexpr double MAX_HEIGHT_ROUNDING = 16 * 0x1p-52;
/// In the unit of the heights: a component that is moved by less everywhere is unchanged (CAF_Component).
constexpr double MIN_HEIGHT_DIFFERENCE = 0.0001;
/// In the unit of the heights, at a zero of the difference: there is a warning if the interpolated difference is larger
/// than this, or if the two interpolated heights differ by more than this (CutAndFillImpl).
constexpr double MAX_SPLIT_HEIGHT = 1e-9, MAX_HEIGHT_DIFFERENCE = 1e-11;
/// In the unit of the heights: if z of a vertex is farther from the difference of its heights, the triangulation was
/// changed from outside, and the process ends (CutAndFillImpl).
constexpr double MAX_TYPE_DIFFERENCE = 0.001;
/// In the unit of the heights: the first step by which a contour moves off a corner, or 1000 units in the last place if
/// that is less (IsoContours).
constexpr double MAX_FIRST_STEP = 1e-6;

// ---- Directions ----

/// Sine of an angle: lines that meet at a smaller angle are intersected by exact arithmetic, since doubles would lose
/// more than four bits (getIntersectionPoint).
constexpr double MIN_TRANSVERSAL = 0.0625;
/// Length of the cross product of two vectors of about length 1: a shorter one is rounding, and the points count as
/// collinear (getNormalVector).
constexpr double MIN_NORMAL = 4e-15;
/// Share of the products in the area of a triangle: a flatter triangle has no circumcircle in doubles, and counts as
/// too large for the chunk (Chunk).
constexpr double MIN_BALL_DETERMINANT = 1e-12;
/// Share of a squared length or cosine: filters that avoid the exact test answer only beyond this distance from a limit
/// (CandidateQueue).
constexpr double FILTER_MARGIN = 1e-7;
/// Radians, of a sum of five angles between normals: a flip that lowers the sum by less is not done, so that rounding
/// cannot flip edges to and fro (ValleyOptimizer).
constexpr double MIN_FLIP_GAIN = 1e-9;

// ---- The range of doubles ----

/// Squares between these, and sums of three of them, have neither overflowed nor lost digits to underflow.
constexpr double MIN_PLAIN_SQUARE = 1e-280, MAX_PLAIN_SQUARE = 1e300;
/// Between these magnitudes of a zone, squared distances of a few units in the last place up to its extent are in range
/// (Refiner).
constexpr double MIN_ZONE_MAGNITUDE = 1e-138, MAX_ZONE_MAGNITUDE = 1e153;
/// Products of four lengths below this may have lost digits to underflow (CandidateQueue).
constexpr double MIN_PRODUCT = 0x1p-900;
/// Triangles with smaller squared sides are computed in scaled coordinates (FacePlane, NaturalNeighbours).
constexpr double MIN_FACE_SQUARE = 1e-250;

inline bool isPlainSquare(double sqLength) { return sqLength > MIN_PLAIN_SQUARE && sqLength < MAX_PLAIN_SQUARE; }

}  // namespace LUMO_TARO25D
