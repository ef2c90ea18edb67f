#include "constraints/checkValidity.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "constraints/ConformingInserter.h"
#include "constraints/ConstraintMgr.h"
#include "kernel/flatSets.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/MeshCheck.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/ConstraintSegment2.h"

namespace LUMO_TARO25D {

namespace {

/// Every alive constraint segment must be an edge of some triangle.
void checkConstraints(const Dt2& mesh, Note& report, MeshCheck& check) {
    AddressSet sContained;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : check.getTriangles()) {
        cancelPoint.pass();
        for (int i = 0; i < 3 && hasThreeCorners(*pT); ++i) {
            if (!mesh.isConstraint(pT, i)) continue;
            sContained.insert(
                mesh.getAliveConstraintSegment(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i))));
        }
    }
    std::vector<ConstraintSegment2*> vAlive, vMissing;
    mesh.getAliveConstraintSegments(vAlive);
    std::copy_if(vAlive.begin(), vAlive.end(), std::back_inserter(vMissing), [&](const ConstraintSegment2* pCSeg) {
        cancelPoint.pass();
        return !sContained.contains(pCSeg);
    });
    report << "\n* ConstraintSegments (alive): " << vAlive.size() << ", contained: " << vAlive.size() - vMissing.size()
           << ", missing: " << vMissing.size() << "\n";
    const auto* pManager = mesh.findSlot<ConstraintMgr>();
    if (!vMissing.empty() && pManager && pManager->isUnfinished()) {
        warning("Dt2::checkValidity()", "a call was cancelled, segments wait for applyConstraintsAndZones(): " +
                                            std::to_string(vMissing.size()));
        return;
    }
    for (const ConstraintSegment2* pCSeg : vMissing) check.add("Not contained: ", *pCSeg);
}

/// Points inserted after the last call that establishes segments may encroach on pieces, so this is no failure.
void warnOfEncroachedPieces(const Dt2& mesh) {
    std::vector<ConstraintSegment2*> vAlive;
    mesh.getAliveConstraintSegments(vAlive);
    CancelPoint<> cancelPoint;
    const auto numEncroached = std::count_if(vAlive.begin(), vAlive.end(), [&](const ConstraintSegment2* pCSeg) {
        cancelPoint.pass();
        return ConformingPieces::isConforming(pCSeg) && ConformingInserter::isEncroached(mesh, pCSeg);
    });
    if (numEncroached == 0) return;
    warning("Dt2::checkValidity()",
            "pieces of conforming segments that are not Delaunay: " + std::to_string(numEncroached));
}

}  // namespace

bool checkValidity(const Dt2& mesh, bool bCheckEmptyCircleProperty, const std::string& name) {
    if (!mesh.is2D()) {
        warning("Dt2::checkValidity()", "not fulldimensional yet (empty or all points collinear), Returning true");
        return true;
    }
    Note report("Dt2::checkValidity()");
    report << mesh.getName();
    MeshCheck check(mesh, report);
    checkConstraints(mesh, report, check);
    const size_t numMissing = check.getNumberOfFindings();
    check.checkStructure();
    if (bCheckEmptyCircleProperty && check.getNumberOfFindings() == numMissing) {
        check.checkEmptyCircles();
        warnOfEncroachedPieces(mesh);
    }
    check.printRest();
    if (check.getNumberOfFindings() == 0) return true;
    report << "\ncheckValidity, bug, name=" << name << "\n";
    return false;
}

}  // namespace LUMO_TARO25D
