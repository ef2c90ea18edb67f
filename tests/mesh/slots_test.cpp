// The state that a mesh keeps for higher modules: slots, and the edges that are constraints.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "mesh/ConstraintEdges.h"
#include "mesh/MeshSlot.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Point2.h"

using namespace LUMO_TARO25D;

namespace {

std::string ends;

template <char NAME>
class NamedSlot : public MeshSlot {
  public:
    explicit NamedSlot(Dt2*) {}
    ~NamedSlot() override { ends += NAME; }
};

TEST(MeshSlots, AreMadeOnceAndEndLastFirst) {
    ends.clear();
    {
        MeshSlots slots;
        EXPECT_EQ(slots.find<NamedSlot<'a'>>(), nullptr);
        MeshSlot* const pA = &slots.get<NamedSlot<'a'>>(nullptr);
        MeshSlot* const pB = &slots.get<NamedSlot<'b'>>(nullptr);
        EXPECT_NE(pA, pB);
        EXPECT_EQ(&slots.get<NamedSlot<'a'>>(nullptr), pA);
        EXPECT_EQ(slots.find<NamedSlot<'b'>>(), pB);
        slots.get<NamedSlot<'c'>>(nullptr);
        EXPECT_EQ(ends, "");
    }
    EXPECT_EQ(ends, "cba");
}

TEST(ConstraintEdges, FindSegmentsByTheirEndsUntilTheyAreErased) {
    constexpr unsigned SEED = 11;
    SCOPED_TRACE(SEED);
    std::mt19937 random(SEED);
    std::vector<Point2> vVertices(60);
    std::map<std::pair<size_t, size_t>, std::unique_ptr<ConstraintSegment2>> mSegments;  // by indices of vertices
    ConstraintEdges edges;
    EXPECT_FALSE(edges.isInUse() || edges.find(&vVertices[0], &vVertices[1]) ||
                 edges.contains(&vVertices[0], &vVertices[1]));
    for (int round = 0; round < 20000; ++round) {
        const size_t i = random() % vVertices.size(), k = random() % vVertices.size();
        if (i == k) continue;
        Point2 *p = &vVertices[i], *q = &vVertices[k];
        auto& pCSeg = mSegments[std::minmax(i, k)];
        ASSERT_EQ(edges.find(p, q), pCSeg.get());
        ASSERT_EQ(edges.contains(q, p), pCSeg && pCSeg->isAlive());
        if (!pCSeg) {
            pCSeg = std::make_unique<ConstraintSegment2>(std::min(p, q), std::max(p, q), CIS_CONSTRAINED_DELAUNAY);
            const auto add = [&] { return edges.findOrAdd(p, q, [&pNew = pCSeg] { return pNew.get(); }); };
            EXPECT_EQ(add(), std::pair(pCSeg.get(), true));
            EXPECT_EQ(add(), std::pair(pCSeg.get(), false));
        } else if (random() % 2 == 0) {
            pCSeg->kill();
        } else {
            edges.erase(q, p);
            pCSeg.reset();
        }
    }
    EXPECT_TRUE(edges.isInUse());
    const ConstraintEdges copy(edges);
    for (const auto& [pair, pCSeg] : mSegments)
        EXPECT_EQ(copy.find(&vVertices[pair.first], &vVertices[pair.second]), pCSeg.get());
}

}  // namespace
