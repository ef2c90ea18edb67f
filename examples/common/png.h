#pragma once

#include <string>

namespace examples {

/// The part of a drawing that is kept, in points of the page.
struct Part {
    double width, height;  ///< from the left end, and from the lower end
    double below = 0;      ///< as much is left out there
};

/// Converts a PostScript file to a PNG of the same name beside it, which has the drawing and nothing else of the page;
/// or reports that ghostscript failed. Throws terrain::BadInput where there is no such file: a drawing that cannot be
/// written only gives a warning.
void addPng(const std::string& filename, const Part& part);

}  // namespace examples
