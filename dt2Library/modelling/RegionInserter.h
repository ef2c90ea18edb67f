#pragma once

#include "modelling/GreedyInserter.h"

namespace LUMO_TARO25D {

class Dt2;

/// Cuts the places into regions, chooses places in each of them on the threads of the mesh, and inserts these into the
/// mesh, a coarse model. Vertices that no region needs are removed; of the others, those at the borders of regions
/// count as chosen afterwards. Does nothing where there are few places or the number of points is limited. The result
/// does not depend on the number of threads.
void insertByRegions(Dt2& mesh, GreedyInserter& inserter, const GreedyInserter::Limits& limits, Progress& progress);

}  // namespace LUMO_TARO25D
