#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "support/capture.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/kept.h"
#include "support/mesh.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
namespace fs = std::filesystem;

namespace {

void writeBytes(const std::string& name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// The bytes of numbers, one after the other.
template <class... Numbers>
std::string bytes(Numbers... numbers) {
    std::string all;
    (all.append(reinterpret_cast<const char*>(&numbers), sizeof(numbers)), ...);
    return all;
}

constexpr std::int32_t TAG = 301;
using Count = std::uint64_t;

const std::string validFile =
    bytes(TAG, Count(3), 0., 0., 1., 5., 0., 2., 0., 5., 3., Count(1), 0., 0., 1., 5., 0., 2.);

bool save(const Taro_2D& mesh, const std::string& name) { return mesh.save(name.c_str()); }
bool load(Taro_2D& mesh, const std::string& name) { return mesh.load(name.c_str()); }

/// An empty directory.
fs::path makeDirectory(const char* name) {
    fs::remove_all(name);
    fs::create_directory(name);
    return name;
}

void insertSquare(Taro_2D& mesh, double side) {
    mesh.insert({Point2(0, 0, 0), Point2(side, 0, 0), Point2(side, side, 0), Point2(0, side, 0)});
}

TEST(File, HoldsTheBytesThatItsFormatTells) {
    Taro_2D mesh;
    ASSERT_TRUE(save(mesh, "mesh"));
    EXPECT_EQ(readFile("mesh"), bytes(TAG, Count(0), Count(0)));
    ASSERT_TRUE(load(mesh, "mesh"));
    EXPECT_EQ(mesh.numberOfPoints(), 0u);

    Point2* pVtx = mesh.insert(Point2(-0.0, 5e-324, -0.0));
    ASSERT_TRUE(save(mesh, "mesh"));
    EXPECT_EQ(readFile("mesh"), bytes(TAG, Count(1), -0.0, 5e-324, -0.0, Count(0)));

    mesh.createConstraint({Segment2(*pVtx, Point2(3, 1, 7))}, CIS_CONFORMING_LINEAR_Z);
    const auto v = verticesOf(mesh);
    const CSegVector vCSegs = aliveSegmentsOf(mesh);
    ASSERT_EQ(v.size(), 2u);
    ASSERT_EQ(vCSegs.size(), 1u);
    const Point2 &src = *vCSegs[0]->getSrc(), &trg = *vCSegs[0]->getTrg();
    ASSERT_TRUE(save(mesh, "mesh"));
    EXPECT_EQ(readFile("mesh"), bytes(TAG, Count(2), v[0]->x(), v[0]->y(), v[0]->z(), v[1]->x(), v[1]->y(), v[1]->z(),
                                      Count(1), src.x(), src.y(), src.z(), trg.x(), trg.y(), trg.z()));
}

TEST(File, BringsBackVerticesAndAliveConstraints) {
    Random random(7);
    for (const size_t numPoints : {0, 3, 300, 20000}) {
        Taro_2D mesh, copy;
        mesh.insert(generators[0].make(scaled(numPoints), random));
        std::vector<Segment2> vSegments;
        for (int i = 0; i < 40; ++i) {
            vSegments.emplace_back(Point2(uniform(random, -2, 2), uniform(random, -2, 2), i),
                                   Point2(0.1 * i, -0.0, -i));
        }
        mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
        mesh.createConstraint({Segment2(Point2(-3, -3, 0), Point2(3, 2.9, 0))}, CIS_CONFORMING_SURFACE_Z);
        ASSERT_TRUE(mesh.is2D());
        const Kept kept(mesh);
        EXPECT_GT(kept.sSegments.size(), vSegments.size());

        ASSERT_TRUE(save(mesh, "mesh"));
        ASSERT_TRUE(load(copy, "mesh"));
        EXPECT_TRUE(Kept(copy) == kept) << numPoints;
        EXPECT_EQ(copy.numberOfTriangles(), mesh.numberOfTriangles());
        EXPECT_TRUE(copy.checkValidity(true, "copy"));
        CSegVector vCSegs;
        copy.getAliveAndDeadConstraintSegments(vCSegs);
        EXPECT_EQ(vCSegs.size(), kept.sSegments.size()) << "pieces become segments of their own";

        ASSERT_TRUE(load(copy, "mesh")) << "into a mesh that has all of it";
        EXPECT_TRUE(Kept(copy) == kept);
    }
}

TEST(File, IsInsertedOnTopOfWhatIsThere) {
    Taro_2D mesh, square;
    insertSquare(square, 4);
    square.createConstraint({Segment2(Point2(0, 0, 0), Point2(4, 4, 0))}, CIS_CONSTRAINED_DELAUNAY);
    ASSERT_TRUE(save(square, "mesh"));
    mesh.insert({Point2(3, -1, 9), Point2(-1, 3, 9), Point2(0, 0, 9), Point2(8, 9, 9)});
    mesh.createConstraint({Segment2(Point2(3, -1, 9), Point2(-1, 3, 9))}, CIS_CONSTRAINED_DELAUNAY);
    ASSERT_TRUE(load(mesh, "mesh"));
    EXPECT_EQ(mesh.numberOfPoints(), 8u);  // 4, 3 new ones, 1 crossing
    EXPECT_EQ(Kept(mesh).sSegments.size(), 4u);
    EXPECT_EQ(Kept(mesh).sVertices.count(toBits(Point2(0, 0, 9))), 1u) << "what was there keeps its height";
    EXPECT_TRUE(mesh.checkValidity(true, "mesh"));
}

TEST(File, ItsPointsStayWhenConstraintsAreRemoved) {
    Taro_2D points;
    points.insert({Point2(5, 5, 1), Point2(6, 9, 2), Point2(7, 3, 2)});
    ASSERT_TRUE(save(points, "points") && points.saveAll("all points"));
    for (const char* name : {"points", "all points"}) {
        Taro_2D mesh;
        insertSquare(mesh, 10);
        auto* pGraph = mesh.createConstraint({Segment2(Point2(5, 5, 1), Point2(8, 6, 1))}, CIS_CONSTRAINED_DELAUNAY);
        ASSERT_TRUE(load(mesh, name));
        ASSERT_TRUE(mesh.removeConstraint(pGraph, true));
        EXPECT_EQ(mesh.numberOfPoints(), 7u) << name;
        EXPECT_EQ(*mesh.getNearestVertex(Point2(5, 5, 0)), Point2(5, 5, 0)) << name;
    }
}

/// Loads invalid bytes into a mesh, which must not change, and returns the message after the file's name.
std::string complaintAbout(const std::string& bytes) {
    static Taro_2D mesh;
    if (mesh.numberOfPoints() == 0) insertSquare(mesh, 1);
    writeBytes("mesh", bytes);
    const StdoutCapture capture;
    EXPECT_FALSE(load(mesh, "mesh"));
    EXPECT_EQ(mesh.numberOfPoints(), 4u);
    EXPECT_TRUE(Kept(mesh).sSegments.empty());
    return capture.text().substr(std::strlen("mesh"));
}

TEST(File, IsRefusedWhenItsTypeIsNotTheRightOne) {
    EXPECT_EQ(complaintAbout(bytes(303)), " should have type 301 but has 303\n");
    EXPECT_EQ(complaintAbout(bytes(-1, Count(0), Count(0))), " should have type 301 but has -1\n");
    EXPECT_EQ(complaintAbout("%!PS-Adobe"), " should have type 301 but has 1397760293\n");
}

TEST(File, IsRefusedWhenDamaged) {
    std::vector<std::string> vDamaged;
    for (size_t length = 0; length < validFile.size(); ++length) vDamaged.push_back(validFile.substr(0, length));
    vDamaged.push_back(validFile + '\0');
    for (const Count count : {~Count(0), Count(1) << 63, Count(1) << 61, ~Count(0) / 24 + 1, ~Count(0) / 48 + 1,
                              (Count(1) << 61) / 3 + 1, Count(4), Count(2)}) {
        vDamaged.push_back(bytes(TAG, count, 0., 0., 1., 5., 0., 2., Count(0)));
        vDamaged.push_back(bytes(TAG, Count(2), 0., 0., 1., 5., 0., 2., count, 0., 0., 1., 5., 0., 2.));
    }
    vDamaged.erase(vDamaged.end() - 2);  // two vertices, no segment: all is well
    for (const double number : {NOT_A_NUMBER, INF, -INF}) {
        vDamaged.push_back(bytes(TAG, Count(1), 0., 0., number, Count(0)));
        vDamaged.push_back(bytes(TAG, Count(2), 0., 0., 1., 5., 0., 2., Count(1), 0., 0., 1., 5., 0., number));
    }
    for (const std::string& file : vDamaged)
        EXPECT_EQ(complaintAbout(file), " is damaged or cut short\n") << file.size();
}

TEST(File, OfAnotherProgramMayRepeatPointsAndCrossSegments) {
    const double aPoints[][3] = {{0, 0, 1}, {8, 0, 1}, {8, 8, 1}, {0, 8, 1}, {0, 0, 5}, {-0., 0, 6}, {8, 0, 7}};
    const double aSegments[][6] = {{0, 0, 9, 8, 8, 9},   // ends at vertices, which keep their heights
                                   {1, 7, 2, 7, 1, 2},   // crosses it, and no point is at its ends
                                   {3, 0, 1, 3, 0, 4},   // of no length
                                   {0, 8, 1, 4, 4, 1}};  // ends at the crossing
    std::string file = bytes(TAG, Count(std::size(aPoints)));
    for (const auto& p : aPoints) file += bytes(p[0], p[1], p[2]);
    file += bytes(Count(std::size(aSegments)));
    for (const auto& s : aSegments) file += bytes(s[0], s[1], s[2], s[3], s[4], s[5]);
    writeBytes("mesh", file);
    Taro_2D mesh;
    ASSERT_TRUE(load(mesh, "mesh"));
    EXPECT_TRUE(mesh.checkValidity(true, "loaded"));
    const Kept kept(mesh);
    EXPECT_EQ(kept.sVertices.count(toBits(Point2(0, 0, 1))), 1u) << "of repeated points the first stays";
    EXPECT_EQ(kept.sVertices.count(toBits(Point2(8, 0, 1))), 1u);
    EXPECT_EQ(kept.sVertices.count(toBits(Point2(1, 7, 2))), 1u);
    EXPECT_EQ(mesh.numberOfPoints(), 8u);  // 4 corners, 2 ends, the crossing, the end of the segment without length
    EXPECT_EQ(kept.sSegments.size(), 5u);  // 2 on the diagonal, 3 on the line that crosses it
}

TEST(File, IsReadFromAPipeWithoutBelievingItsCounts) {
    const std::string hugeCount = bytes(TAG, Count(1) << 58, 0., 0., 0.);
    const std::pair<std::string, bool> aCases[] = {
        {validFile, true}, {hugeCount, false}, {validFile + "+", false}, {"", false}};
    for (const auto& [file, bValid] : aCases) {
        fs::remove("pipe");
        ASSERT_EQ(mkfifo("pipe", 0600), 0);
        std::thread writer([&bytes = file] { writeBytes("pipe", bytes); });
        Taro_2D mesh;
        const StdoutCapture capture;
        EXPECT_EQ(load(mesh, "pipe"), bValid);
        writer.join();
        EXPECT_EQ(capture.text(), bValid ? "" : "pipe is damaged or cut short\n");
        EXPECT_EQ(mesh.numberOfPoints(), bValid ? 3u : 0u);
    }
}

TEST(File, IsWrittenToAPipe) {
    fs::remove("pipe");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    std::string received;
    std::thread reader([&] { received = readFile("pipe"); });
    EXPECT_TRUE(save(Taro_2D(), "pipe"));
    reader.join();
    EXPECT_EQ(received, bytes(TAG, Count(0), Count(0)));
    EXPECT_TRUE(fs::is_fifo("pipe"));
}

TEST(File, CallsThatCannotWorkSaySo) {
    fs::remove_all("directory");
    fs::create_directory("directory");
    Taro_2D mesh;
    insertSquare(mesh, 1);
    for (const char* name : {"", "directory", "no/such/place", "mesh/below", "directory/"}) {
        StdoutCapture capture;
        EXPECT_FALSE(mesh.save(name));
        EXPECT_FALSE(mesh.load(name));
        EXPECT_EQ(capture.text(), std::string(name) + " can't be written\n" + name + " can't be read\n");
    }
    const StdoutCapture capture;
    EXPECT_FALSE(mesh.save(nullptr));
    EXPECT_FALSE(mesh.load(nullptr));
    EXPECT_FALSE(mesh.save("/dev/full"));
    EXPECT_EQ(capture.text(), " can't be written\n can't be read\n/dev/full can't be written\n");
    EXPECT_EQ(countEntries("directory"), 0u);
    EXPECT_EQ(mesh.numberOfPoints(), 4u);
}

/// While it lives, no file can grow beyond the given number of bytes.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t numBytes) : pPreviousHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &previous_);
        const rlimit limit{numBytes, previous_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, pPreviousHandler_);
    }

  private:
    rlimit previous_;
    void (*pPreviousHandler_)(int);
};

TEST(File, StaysAsItWasWhenSavingFails) {
    const fs::path directory = makeDirectory("directory"), name = directory / "mesh";
    Taro_2D mesh;
    insertSquare(mesh, 1);
    {
        const StdoutCapture capture;
        const FileSizeLimit limit(100);
        EXPECT_FALSE(save(mesh, name));
        EXPECT_EQ(countEntries(directory), 0u);
    }
    ASSERT_TRUE(save(mesh, name));
    const std::string old = readFile(name);
    for (int i = 0; i < 5000; ++i) mesh.insert(Point2(i, i * i, i));
    for (const rlim_t numBytes : {0, 4096, 100000}) {
        const StdoutCapture capture;
        const FileSizeLimit limit(numBytes);
        EXPECT_FALSE(save(mesh, name));
        EXPECT_EQ(capture.text(), name.string() + " can't be written\n");
        EXPECT_EQ(readFile(name), old);
        EXPECT_EQ(countEntries(directory), 1u);
    }
    Point2* pVtx = mesh.insert(Point2(0, 7, 0));
    pVtx->set(0, 7, NOT_A_NUMBER);
    EXPECT_FALSE(save(mesh, name)) << "what could not be read again";
    EXPECT_EQ(readFile(name), old);
    pVtx->set(0, 7, 0);
    EXPECT_TRUE(save(mesh, name));
    EXPECT_EQ(countEntries(directory), 1u);
}

TEST(File, KeepsItsModeAndItsLinks) {
    const fs::path directory = makeDirectory("directory");
    const Taro_2D mesh;
    const std::string file = bytes(TAG, Count(0), Count(0));
    const mode_t mask = umask(027);
    EXPECT_TRUE(save(mesh, directory / "mesh"));
    umask(mask);
    EXPECT_EQ(fs::status(directory / "mesh").permissions(), fs::perms(0640));
    fs::permissions(directory / "mesh", fs::perms(0604));
    writeBytes(directory / "mesh", "old");
    fs::create_symlink("mesh", directory / "link");
    fs::create_symlink("directory/link", "linkToLink");
    EXPECT_TRUE(save(mesh, "linkToLink"));
    EXPECT_EQ(readFile(directory / "mesh"), file);
    EXPECT_EQ(fs::status(directory / "mesh").permissions(), fs::perms(0604));

    fs::remove(directory / "mesh");
    EXPECT_TRUE(save(mesh, "linkToLink")) << "to a file that is not there yet";
    EXPECT_EQ(readFile(directory / "mesh"), file);
    EXPECT_TRUE(fs::is_symlink("linkToLink") && fs::is_symlink(directory / "link"));
    fs::remove("linkToLink");
    fs::create_symlink("linkToLink", "linkToLink");
    const StdoutCapture capture;
    EXPECT_FALSE(save(mesh, "linkToLink"));
    EXPECT_EQ(countEntries(directory), 2u);
}

/// While it lives, file permissions hold for the administrator too.
class OrdinaryUser {
  public:
    OrdinaryUser() : bSwitched_(geteuid() == 0 && seteuid(NOBODY) == 0) {}
    ~OrdinaryUser() {
        if (bSwitched_ && seteuid(0) != 0) std::abort();
    }
    bool isSwitched() const { return bSwitched_; }

  private:
    static constexpr uid_t NOBODY = 65534;
    bool bSwitched_;
};

TEST(File, IsWrittenInPlaceWhereNoOtherCanBeMade) {
    const fs::path directory = makeDirectory("directory"), name = directory / "mesh", readOnly = directory / "readOnly";
    const auto getInode = [&name] {
        struct stat info {};
        EXPECT_EQ(stat(name.c_str(), &info), 0);
        return info.st_ino;
    };
    writeBytes(name, "a longer text than an empty mesh needs");
    writeBytes(readOnly, "old");
    fs::permissions(name, fs::perms(0666));
    fs::permissions(readOnly, fs::perms(0444));
    const ino_t inode = getInode();
    const Taro_2D mesh;
    for (const int mode : {0555, 0777}) {
        fs::permissions(directory, fs::perms(mode));
        const OrdinaryUser user;
        const StdoutCapture capture;
        EXPECT_FALSE(save(mesh, readOnly));
        EXPECT_EQ(save(mesh, directory / "new"), mode == 0777);
        EXPECT_TRUE(save(mesh, name));
        // A file in one's own directory may be replaced, a file of another user keeps its inode.
        EXPECT_EQ(getInode() == inode, mode == 0555 || user.isSwitched());
        EXPECT_EQ(countEntries(directory), mode == 0777 ? 3u : 2u);
    }
    EXPECT_EQ(readFile(name), bytes(TAG, Count(0), Count(0)));
    EXPECT_EQ(readFile(readOnly), "old");
}

TEST(File, IsWholeWhenSeveralSaveItAtOnce) {
    const fs::path directory = makeDirectory("directory"), name = directory / "mesh";
    std::vector<std::thread> vThreads;
    for (int k = 1; k <= 4; ++k) {
        vThreads.emplace_back([&name, k] {
            Taro_2D mesh;
            for (int i = 0; i < 100 * k; ++i) mesh.insert(Point2(i, i, k));
            for (int i = 0; i < 25; ++i) EXPECT_TRUE(save(mesh, name));
        });
    }
    for (int i = 0; i < 100; ++i) {
        Taro_2D mesh;
        EXPECT_TRUE(!fs::exists(name) || load(mesh, name));
        EXPECT_EQ(mesh.numberOfPoints() % 100, 0u);
    }
    for (std::thread& thread : vThreads) thread.join();
    EXPECT_EQ(countEntries(directory), 1u);
}

}  // namespace
