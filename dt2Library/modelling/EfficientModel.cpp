// The client's handle on simplification. go() runs the steps in order: kept lines and hull, points and thinning
// (Simplifier) and, if asked for, certification of the whole surface (SurfaceCertifier). The Simplifier of the last
// finished run is kept for getSurfaceError, which needs its list of points that were left out.

#include "taro25d/EfficientModel.h"

#include <cmath>
#include <limits>
#include <string>

#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "modelling/Simplifier.h"
#include "modelling/SurfaceCertifier.h"
#include "support/Progress.h"
#include "support/diagnostics.h"
#include "taro25d/Taro_2D.h"

namespace LUMO_TARO25D {

struct EfficientModelState {
    std::vector<Point2> vPoints;
    std::vector<Segment2> vKept;
    Simplifier::Limits limits;
    bool bCertified = false;
    int numCPU = 1;
    Taro_2D model;
    std::unique_ptr<Simplifier> pSimplifier;  // of the last go() that finished
    double error = std::numeric_limits<double>::quiet_NaN();
    Progress progress;
};

EfficientModel::EfficientModel(const std::vector<Point2>& vPoints) : pState_(std::make_unique<EfficientModelState>()) {
    pState_->vPoints = vPoints;
}

EfficientModel::~EfficientModel() = default;

void EfficientModel::keep(const std::vector<Segment2>& vSegments) {
    if (areFinite(vSegments)) {
        pState_->vKept.insert(pState_->vKept.end(), vSegments.begin(), vSegments.end());
        return;
    }
    const MessageScope scope(&pState_->progress);
    warning("EfficientModel::keep()", "non-finite coordinates, segments refused");
}

void EfficientModel::setMaxError(double maxError) {
    if (maxError >= 0.0) {
        pState_->limits.maxError = maxError;
        return;
    }
    const MessageScope scope(&pState_->progress);
    warning("EfficientModel::setMaxError()", "the error is negative or no number, nothing is changed");
}

void EfficientModel::setMaxNumberOfPoints(std::size_t num) {
    if (num > 0) {
        pState_->limits.maxNumPoints = num;
        return;
    }
    const MessageScope scope(&pState_->progress);
    warning("EfficientModel::setMaxNumberOfPoints()", "the number is 0, nothing is changed");
}

void EfficientModel::setNumCPU(int num) { pState_->numCPU = pState_->model.setNumCPU(num); }

void EfficientModel::setCertified(bool bCertified) { pState_->bCertified = bCertified; }

void EfficientModel::go() {
    EfficientModelState& state = *pState_;
    const MessageScope scope(&state.progress);
    if (state.limits.maxError < 0.0 && state.limits.maxNumPoints == 0) {
        warning("EfficientModel::go()", "no limit has been set, nothing to do");
        return;
    }
    state.pSimplifier = nullptr;
    state.error = std::numeric_limits<double>::quiet_NaN();
    state.model.initTaro(static_cast<unsigned>(std::min<std::size_t>(state.vPoints.size(), 1000000)));
    state.model.setNumCPU(state.numCPU);
    auto pSimplifier =
        std::make_unique<Simplifier>(*state.model.getImpl(), state.vPoints, state.limits, state.progress);
    state.progress.start("simplify", 1000);
    const ProgressEnd progressEnd(state.progress);
    pSimplifier->begin(state.vKept);
    pSimplifier->run();
    if (const std::size_t num = pSimplifier->getNumLeftOut()) {
        warning("EfficientModel::go()",
                "points that share a place with another one or a kept line, or are not finite, "
                "are left out: " +
                    std::to_string(num));
    }
    if (state.bCertified && state.limits.maxError >= 0.0) {
        SurfaceCertifier(state.model, state.vPoints, state.vKept, *pSimplifier, state.progress)
            .certify(state.limits.maxError, state.limits.maxNumPoints);
    }
    state.error = pSimplifier->computeError();
    state.pSimplifier = std::move(pSimplifier);
    state.progress.finish();
}

Taro_2D* EfficientModel::getTriangulation() const { return &pState_->model; }

double EfficientModel::getError() const { return pState_->error; }

double EfficientModel::getSurfaceError() const {
    EfficientModelState& state = *pState_;
    if (!state.pSimplifier) return std::numeric_limits<double>::quiet_NaN();
    const MessageScope scope(&state.progress);
    return SurfaceCertifier(state.model, state.vPoints, state.vKept, *state.pSimplifier, state.progress).computeError();
}

void EfficientModel::subscribe(MsgType type, MsgBase* pListener) { pState_->progress.subscribe(type, pListener); }

void EfficientModel::unsubscribe(MsgType type, MsgBase* pListener) { pState_->progress.unsubscribe(type, pListener); }

void EfficientModel::setCancelFlag(const std::atomic<bool>* pFlag) { pState_->progress.setCancelFlag(pFlag); }

}  // namespace LUMO_TARO25D
