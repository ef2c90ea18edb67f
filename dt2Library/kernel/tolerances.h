#pragma once

namespace LUMO_TARO25D {

// Every number of the library that says how much is too little to count. Exact predicates need none, and bounds of rounding
// errors stand where they are proved (GeomTest, circumcenter, expansion). Each is given with its unit, its reason and its
// user; docs/robustness.md has the same table with the test that notices a change.

// ---- Places: shares of the largest coordinate of what is compared -------------------------------------------------------

/// 4 to 8 units in the last place, which is what computing a point on a line, or the crossing of two, can be wrong by. Places
/// nearer than this may be meant to be one, and a vertex that is nearer to a segment lies on it (nearness.h, cuts).
constexpr double RESOLUTION = 0x1p-50;
/// Two segments, or a segment and a vertex, that are nearer than this to an end of the segment are left alone: such a spacing
/// of a few rounding errors may be input, of which every decision counts (isBeside).
constexpr double END_ZONE = 0x1p-40;
/// A crossing that is not farther from an end of a segment, in x and in y, than this share of its own x and y is one in the
/// last bits, which are rationed (SegmentInserter).
constexpr double NEXT_TO_END = 0x1p-49;
/// A conforming piece that is shorter in x and in y is not halved any more: midpoints would be ends (ConformingInserter).
constexpr double MIN_PIECE = 10 * 0x1p-52;
/// A barycentre that is nearer to a side of its triangle is no seed of a zone: the border is bent by as much as RESOLUTION
/// where others cross it, several times (ZoneMgr).
constexpr double MIN_SEED_CLEARANCE = 0x1p-46;
/// A circumcircle with a smaller radius, or around a zone with larger coordinates, holds too few doubles to go on (RefCand3).
constexpr double MIN_RADIUS = 16 * 0x1p-52;
/// A sliver at the border of a surface, or a gap between two surfaces, that is not wider comes from arithmetic on the
/// coordinates (CutAndFillImpl).
constexpr double WELDING_DISTANCE = 0x1p-48;
/// Corners of bands that are nearer in x and in y are one (BandNodes).
constexpr double BAND_RESOLUTION = 0x1p-49;
/// Share of the extent of two triangles and of the length of a side: how far from the line of the side a corner of their
/// overlay may be by rounding (OverlayPiece).
constexpr double MAX_SIDE_ERROR = 0x1p-48;

// ---- Lengths ------------------------------------------------------------------------------------------------------------

/// In the unit of the coordinates: a crossing nearer to an end of one of its segments is that end. Fixed, since clients expect
/// it for metres (SegmentInserter).
constexpr double SNAP_DISTANCE = 1e-6;
/// Share of the length of a segment, and units in the last place of its largest coordinate: a point farther off is not on the
/// segment and cannot split it (isOffSegment).
constexpr double MAX_OFFSET = 1e-6, MAX_OFFSET_UNITS = 4.0;
/// In the unit of the coordinates, four times SNAP_DISTANCE: the sides of a narrower triangle may merge (CutAndFillImpl) ...
constexpr double MIN_SLIVER_WIDTH = 4.0 * SNAP_DISTANCE;
/// ... if it is narrow for its length as well, as a share of that.
constexpr double MAX_SLIVER_RATIO = 1e-4;
/// Share of the extent of two surfaces: a strip that is narrower holds no volume that counts (CutAndFillImpl).
constexpr double NEGLIGIBLE_WIDTH = 0x1p-34;
/// Share of a squared radius: a circle that is searched for vertices is this much larger, so that rounding loses none; each
/// is tested by itself afterwards (getVerticesNearby).
constexpr double SEARCH_MARGIN = 1e-9;
/// Share of a distance, and of the longest side of a triangle: a triangle this much farther away is looked at all the same,
/// far above what rounding takes from the distance; each vertex is tested by itself afterwards (RegionSearch).
constexpr double REGION_MARGIN = 1e-12;
/// Share of the area of a polygon, and of its circumference times its RESOLUTION: what may be missing inside a cut, or be too
/// much, by rounding of its sides (CookieCutter).
constexpr double MAX_AREA_ERROR = 1e-6, MAX_BORDER_ERROR = 64.0;
/// Share of the squared extent of two triangles: a larger overlay is not the rounding of a common side (OverlayPiece).
constexpr double MIN_PIECE_AREA = 0x1p-30;

// ---- Heights ------------------------------------------------------------------------------------------------------------

/// In the unit of the heights: a height on the plane of a triangle may leave the range of its corners by this, and the longest
/// edges of a thin one may disagree by it (heights.cpp).
constexpr double HEIGHT_TOLERANCE = 0.001;
/// Twice the area of a triangle as a share of the square of its longer side: below it, heights on its plane would lose more
/// than 1e-7 of their range to rounding, and rational numbers compute them (heights.cpp, FacePlane).
constexpr double MIN_PLANE_DETERMINANT = 0x1p-19;
/// Share of the range of heights around an edge: a vertex beside the edge whose height differs by less from that of the edge
/// lies on it (SurfaceCutter).
constexpr double MAX_CREASE = 0x1p-30;
/// Share of heights, and of coordinates times the slope: surfaces that differ by less there are equal (OverlayPiece).
constexpr double MAX_HEIGHT_ROUNDING = 16 * 0x1p-52;
/// In the unit of the heights: components nowhere moved by as much are unchanged (CAF_Component).
constexpr double MIN_HEIGHT_DIFFERENCE = 0.0001;
/// In the unit of the heights: what the two heights of a border may differ by, those of a zero of their difference, and of a
/// vertex and its difference, before a warning tells of it (CutAndFillImpl).
constexpr double MAX_SPLIT_HEIGHT = 1e-9, MAX_HEIGHT_DIFFERENCE = 1e-11, MAX_TYPE_DIFFERENCE = 0.001;
/// In the unit of the heights: the first step of a contour beside a corner is 1000 units in the last place if that is less
/// (IsoContours).
constexpr double MAX_FIRST_STEP = 1e-6;

// ---- Directions ---------------------------------------------------------------------------------------------------------

/// Sine of an angle: lines that meet at less are intersected by exact arithmetic, since doubles would lose more than four bits
/// (getIntersectionCoords).
constexpr double MIN_TRANSVERSAL = 0.0625;
/// Length of a cross product of vectors of about length 1: what is shorter is rounding, and the points are collinear
/// (getNormalVector).
constexpr double MIN_NORMAL = 4e-15;
/// Share of the products in the area of a triangle: a flatter one has no circle in doubles, and counts as too large for the
/// chunk (Chunk).
constexpr double MIN_BALL_DETERMINANT = 1e-12;
/// Share of a squared length or cosine: filters that spare exact work answer only beyond this distance from a limit
/// (CandidateQueue).
constexpr double FILTER_MARGIN = 1e-7;

// ---- The range of doubles -----------------------------------------------------------------------------------------------

/// Squares between these have neither overflowed nor lost digits to underflow, nor have sums of three of them.
constexpr double MIN_PLAIN_SQUARE = 1e-280, MAX_PLAIN_SQUARE = 1e300;
/// Coordinates of a zone between these have squares of distances, down to a few units in the last place (Refiner).
constexpr double MIN_ZONE_MAGNITUDE = 1e-138, MAX_ZONE_MAGNITUDE = 1e153;
/// Products of four lengths that are smaller may have lost digits (CandidateQueue).
constexpr double MIN_PRODUCT = 0x1p-900;
/// Squared sides of a triangle that are smaller have no slope in doubles (FacePlane).
constexpr double MIN_FACE_SQUARE = 1e-250;

inline bool isPlainSquare(double sqLength) { return sqLength > MIN_PLAIN_SQUARE && sqLength < MAX_PLAIN_SQUARE; }

}  // namespace LUMO_TARO25D
