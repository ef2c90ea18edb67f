#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "kernel/BoxTree.h"
#include "modelling/FaceComplex.h"

namespace LUMO_TARO25D {

/// Chooses faces that fit together: greedily, in their order, each face that fits all those chosen before.
class FaceSelector {
  public:
    using Number = FaceComplex::Number;

    /// Takes the number of each corner's place (NONE for a corner that is not finite), and predicates that hold for the
    /// places. Owns nothing.
    FaceSelector(const std::vector<Point2>& vCorners, const FaceComplex::Numbers& vNumbers,
                 const std::vector<Point2*>& vPlaces, GeomTest& geomTest, Progress& progress);

    /// O(log n) for each face and for each chosen face whose box meets its own.
    void run(const char* label);
    /// The corners of the chosen faces, in their order.
    const std::vector<Point2>& getChosenCorners() const { return vChosenCorners_; }
    /// A report on the number of faces left out and the reasons.
    std::string getReport() const;

  private:
    /// The reasons for which a face is not chosen.
    enum Fault { FITS = 0, NO_AREA, OTHER_HEIGHT, OVERLAPS, TOUCHES, NUM_FAULTS };
    using Face = std::array<Number, 3>;  // counterclockwise

    /// Turns the face counterclockwise; false if it has no area.
    bool getFace(size_t f, Face& face) const;
    bool hasOtherHeight(size_t f) const;
    Fault getFault(size_t f);
    Fault getMeeting(const Face& a, const Face& b) const;
    Fault getMeetingAtCorner(const Face& a, size_t i, const Face& b, size_t j) const;
    /// Whether some edge of a has no part of b on its left; if strictly, each corner of b on its right.
    bool isApart(const Face& a, const Face& b, bool bStrictly) const;
    bool isInCone(const Face& a, size_t i, Number place) const;
    Orientation2 getOrientation(Number a, Number b, Number c) const {
        return geomTest_.getOrientation2(vPlaces_[a], vPlaces_[b], vPlaces_[c]);
    }
    void choose(size_t f, const Face& face);
    BoxTree::Box getBox(const Face& face) const;

    const std::vector<Point2>& vCorners_;
    const FaceComplex::Numbers& vNumbers_;
    const std::vector<Point2*>& vPlaces_;
    GeomTest& geomTest_;
    Progress& progress_;
    std::vector<Point2> vChosenCorners_;
    std::vector<Face> vChosen_;
    BoxTree tree_;                  // boxes of the chosen faces
    std::vector<double> vHeights_;  // of the chosen faces at each place; NaN where there are none
    std::array<size_t, NUM_FAULTS> aNumFaces_{};
    size_t firstFault_ = 0;
};

}  // namespace LUMO_TARO25D
