// The state that a mesh keeps for higher modules: slots, and the edges that are constraints.

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "mesh/ConstraintEdges.h"
#include "mesh/MeshSlot.h"
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

TEST(ConstraintEdges, AreThoseAddedAndNotErasedWhoseFlagIsSet) {
    constexpr unsigned SEED = 11, NUM_VERTICES = 40;
    SCOPED_TRACE(SEED);
    std::mt19937 random(SEED);
    std::vector<Point2> vVertices(NUM_VERTICES);
    const std::array<bool, 2> aFlags{false, true};
    ConstraintEdges edges;
    EXPECT_FALSE(edges.isInUse() || edges.contains(&vVertices[0], &vVertices[1]));
    std::set<std::pair<const Point2*, const Point2*>> sAdded, sSet;  // smaller address first
    for (int round = 0; round < 5000; ++round) {
        const Point2 *p = &vVertices[random() % NUM_VERTICES], *q = &vVertices[random() % NUM_VERTICES];
        if (p == q) continue;
        const auto key = std::minmax(p, q);
        const bool bFlag = random() % 4 != 0;
        if (sAdded.count(key) != 0 || random() % 8 == 0) {
            edges.erase(p, q);
            sAdded.erase(key);
            sSet.erase(key);
        } else {
            edges.add(p, q, &aFlags[bFlag]);
            sAdded.insert(key);
            if (bFlag) sSet.insert(key);
        }
        if (round % 100 != 0) continue;
        for (const Point2& a : vVertices) {
            for (const Point2& b : vVertices) {
                EXPECT_EQ(edges.contains(&a, &b), &a != &b && sSet.count(std::minmax(&a, &b)) != 0);
            }
        }
    }
    EXPECT_TRUE(edges.isInUse());
}

}  // namespace
