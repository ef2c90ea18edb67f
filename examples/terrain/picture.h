#pragma once

#include <string>
#include <vector>

#include "taro25d/Point2.h"
#include "taro25d/Taro_2D.h"

namespace terrain {

/// A place that a picture names, with a letter or a digit.
struct Mark {
    LUMO_TARO25D::Point2 position;
    std::string name;
};

/// Draws the whole ground, coloured by height and lit from the north-west, with a legend and the marks that lie on it.
/// A mesh that is too fine for a page is drawn coarser.
void drawOverview(const std::string& filename, const LUMO_TARO25D::Taro_2D& ground, const std::vector<Mark>& vMarks);

/// Draws the mesh around the highest vertex as it is, with the heights of its vertices.
void drawSummit(const std::string& filename, const LUMO_TARO25D::Taro_2D& ground);

}  // namespace terrain
