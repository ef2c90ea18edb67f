// The choice of faces that fit together from a damaged set.
//
// A face is chosen if it has an area, has the heights of the chosen faces at its corners, and meets each chosen face in
// a common edge, in a common corner, or not at all. All tests are exact. So the chosen faces fit together, and each
// face left out contradicts a face chosen before it.

#include "modelling/FaceSelector.h"

#include <algorithm>
#include <limits>

#include "support/stopping.h"

namespace LUMO_TARO25D {

FaceSelector::FaceSelector(const std::vector<Point2>& vCorners, const FaceComplex::Numbers& vNumbers,
                           const std::vector<Point2*>& vPlaces, GeomTest& geomTest, Progress& progress)
    : vCorners_(vCorners),
      vNumbers_(vNumbers),
      vPlaces_(vPlaces),
      geomTest_(geomTest),
      progress_(progress),
      vHeights_(vPlaces.size(), std::numeric_limits<double>::quiet_NaN()) {}

void FaceSelector::run(const char* label) {
    const size_t numFaces = vCorners_.size() / 3;
    // Growing step by step, these lists would be moved, which takes longer than cancellation points may be apart.
    vChosen_.reserve(numFaces);
    vChosenCorners_.reserve(vCorners_.size());
    progress_.start(label, numFaces);
    const ProgressEnd progressEnd(progress_);
    for (size_t f = 0; f < numFaces; ++f) {
        const Fault fault = getFault(f);
        if (fault != FITS && aNumFaces_[FITS] == f) firstFault_ = f;
        ++aNumFaces_[fault];
        progress_.incProgress(1);
        throwIfStopped();
    }
    progress_.finish();
}

FaceSelector::Fault FaceSelector::getFault(size_t f) {
    Face face;
    if (!getFace(f, face)) return NO_AREA;
    if (hasOtherHeight(f)) return OTHER_HEIGHT;
    Fault worst = FITS;
    tree_.forEachIn(getBox(face), [&](size_t k) {
        const Fault fault = getMeeting(vChosen_[k], face);
        if (worst != OVERLAPS && fault != FITS) worst = fault;
    });
    if (worst == FITS) choose(f, face);
    return worst;
}

bool FaceSelector::getFace(size_t f, Face& face) const {
    std::copy_n(&vNumbers_[3 * f], 3, face.begin());
    if (std::find(face.begin(), face.end(), FaceComplex::NONE) != face.end()) return false;
    const Orientation2 ori = getOrientation(face[0], face[1], face[2]);
    if (ori == ORIENTATION2_CW) std::swap(face[1], face[2]);
    return ori != ORIENTATION2_COLLINEAR;
}

bool FaceSelector::hasOtherHeight(size_t f) const {
    for (size_t corner = 3 * f; corner < 3 * f + 3; ++corner) {
        const double height = vHeights_[vNumbers_[corner]];
        if (height < vCorners_[corner].z() || height > vCorners_[corner].z()) return true;
    }
    return false;
}

void FaceSelector::choose(size_t f, const Face& face) {
    tree_.add(getBox(face), vChosen_.size());
    vChosen_.push_back(face);
    for (size_t corner = 3 * f; corner < 3 * f + 3; ++corner) {
        vHeights_[vNumbers_[corner]] = vCorners_[corner].z();
        vChosenCorners_.push_back(vCorners_[corner]);
    }
}

BoxTree::Box FaceSelector::getBox(const Face& face) const {
    const Point2 &a = *vPlaces_[face[0]], &b = *vPlaces_[face[1]], &c = *vPlaces_[face[2]];
    BoxTree::Box box = BoxTree::getBox(a, b);
    boost::geometry::expand(box, BoxTree::getBox(c, c));
    return box;
}

// ---------------------------------------------------------------------------------------------------------------------
// Two faces

FaceSelector::Fault FaceSelector::getMeeting(const Face& a, const Face& b) const {
    size_t numCommon = 0, i = 0, j = 0, sumI = 0, sumJ = 0;
    for (size_t k = 0; k < 3; ++k) {
        const auto it = std::find(b.begin(), b.end(), a[k]);
        if (it == b.end()) continue;
        ++numCommon;
        i = k;
        j = static_cast<size_t>(it - b.begin());
        sumI += i;
        sumJ += j;
    }
    if (numCommon == 3) return OVERLAPS;
    if (numCommon == 1) return getMeetingAtCorner(a, i, b, j);
    if (numCommon == 2) {
        // The other corners are numbers 3 - sumI and 3 - sumJ: on the same side if both pass the edge in one direction.
        return a[(4 - sumI) % 3] == b[(4 - sumJ) % 3] ? OVERLAPS : FITS;
    }
    if (isApart(a, b, true) || isApart(b, a, true)) return FITS;
    return isApart(a, b, false) || isApart(b, a, false) ? TOUCHES : OVERLAPS;
}

/// Two faces with one common corner fit if their cones at that corner have no other point in common.
FaceSelector::Fault FaceSelector::getMeetingAtCorner(const Face& a, size_t i, const Face& b, size_t j) const {
    const bool bMeet = isInCone(a, i, b[(j + 1) % 3]) || isInCone(a, i, b[(j + 2) % 3]) ||
                       isInCone(b, j, a[(i + 1) % 3]) || isInCone(b, j, a[(i + 2) % 3]);
    if (!bMeet) return FITS;
    return isApart(a, b, false) || isApart(b, a, false) ? TOUCHES : OVERLAPS;
}

/// Two triangles without a common point are separated by the line of an edge of one of them.
bool FaceSelector::isApart(const Face& a, const Face& b, bool bStrictly) const {
    for (size_t i = 0; i < 3; ++i) {
        const bool bApart = std::all_of(b.begin(), b.end(), [&](Number place) {
            const Orientation2 ori = getOrientation(a[i], a[(i + 1) % 3], place);
            return ori == ORIENTATION2_CW || (!bStrictly && ori == ORIENTATION2_COLLINEAR);
        });
        if (bApart) return true;
    }
    return false;
}

/// Whether a place is in the cone of a face at its corner i, border included.
bool FaceSelector::isInCone(const Face& a, size_t i, Number place) const {
    return getOrientation(a[i], a[(i + 1) % 3], place) != ORIENTATION2_CW &&
           getOrientation(a[i], a[(i + 2) % 3], place) != ORIENTATION2_CCW;
}

// ---------------------------------------------------------------------------------------------------------------------
// The report

std::string FaceSelector::getReport() const {
    const size_t numFaces = vCorners_.size() / 3;
    const char* const aTexts[NUM_FAULTS] = {"", " without area or finite coordinates",
                                            " with another height at a corner", " overlapping others",
                                            " touching others apart from common edges and corners"};
    std::string text = std::to_string(numFaces - aNumFaces_[FITS]) + " of " + std::to_string(numFaces) + " faces (";
    const char* separator = "";
    for (size_t fault = FITS + 1; fault < NUM_FAULTS; ++fault) {
        if (aNumFaces_[fault] == 0) continue;
        text += separator + std::to_string(aNumFaces_[fault]) + aTexts[fault];
        separator = ", ";
    }
    return text + "; the first is number " + std::to_string(firstFault_) + ")";
}

}  // namespace LUMO_TARO25D
