#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// @file
/// Artificial surfaces for tests, benchmarks and trials. The same arguments give the same points on every machine, in
/// arithmetic without library functions; another seed gives other places, other ground and other noise. A length that
/// is not finite or too small (a normal double is needed, and for a road its width), or a noise that is negative or
/// not finite, gives a warning and no points. Linear time.

/// Returns points at random places of the square from 0 to the extent in x and y, on ground with hills of all sizes
/// from the extent to 1/4096 of it, in all about an eighth of the extent high. It is a sum of smooth noise in octaves
/// (Perlin 1985; Musgrave 1993), and depends on the extent and the seed alone.
TARO25D_API std::vector<Point2> makeFractalTerrain(std::size_t numPoints, double extent, std::uint64_t seed);

/// Returns points of the ground that `makeFractalTerrain` has for this extent and seed, as a ship or an aircraft
/// measures it: along parallel lines in the direction of x, to and fro, a little unsteady, with 20 times the distance
/// of neighbouring points between neighbouring lines.
TARO25D_API std::vector<Point2> makeSurveyLines(std::size_t numPoints, double extent, std::uint64_t seed);

/// Returns points at random places of a square around the origin, whose side is four times the height, on a cone with a
/// slope of 3 to 4 that stands on level ground of height 0. The volume of the cone is 16/27 pi times the cube of its
/// height.
TARO25D_API std::vector<Point2> makeStockpile(std::size_t numPoints, double height, std::uint64_t seed);

/// Returns the cross sections of a road in order, five points each: the left end of the slope on the ground, the left
/// edge, the axis, the right edge and the right end. The axis swings once to each side between x = 0 and the length,
/// the platform is 8 wide with a crossfall of 2.5 %, and the slopes are 2 to 3. The ground is that of
/// `makeFractalTerrain` for this length and seed, and the axis is as high as the ground without its hills that are
/// narrower than 100. The points of one kind in consecutive sections are breaklines. numPoints is rounded down to a
/// multiple of five.
TARO25D_API std::vector<Point2> makeRoad(std::size_t numPoints, double length, std::uint64_t seed);

/// Returns points of a scanned wall: x runs along it, y upwards and z out of it, so that it can be triangulated. It is
/// 24 wide and 12 high; its windows lie 0.25 behind it and the ledges between the storeys 0.15 in front of it, all with
/// steep edges. Noise of the given standard deviation is added to z.
TARO25D_API std::vector<Point2> makeScannedFacade(std::size_t numPoints, double noise, std::uint64_t seed);

}  // namespace LUMO_TARO25D
