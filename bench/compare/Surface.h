#pragma once

#include "generators.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

namespace bench {

/// A surface of all triangles, for queries.
struct Surface {
    explicit Surface(const Points& vPoints) {
        taro.insert(vPoints);
        pZone = taro.createZone(nullptr, LUMO_TARO25D::ZL_GLOBAL);
    }
    LUMO_TARO25D::Taro_2D taro;
    LUMO_TARO25D::Zone2* pZone;
};

}  // namespace bench
