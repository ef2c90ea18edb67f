#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "taro25d/Color.h"
#include "taro25d/ColourRamp.h"
#include "taro25d/MsgBase.h"
#include "taro25d/MsgType.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Label;
class Segment2;
class Triangle2;
struct Scene3;

/// Collects surfaces, lines and labels in space, in named layers, and writes them into files for programs that show
/// scenes in three dimensions.
///
/// What is added is copied at once, so it may change or go afterwards; nothing is owned. Layers come into being with the
/// first object that names them, and keep that order. Null pointers, triangles without corners and whatever has a
/// coordinate that is NaN or infinite are left out, with one warning for each call. Of a Color the red, green and blue
/// count, moved into the range from 0 to 1; coordinates are in any unit, the same one for x, y and z.
///
/// Writing does not change the scene, which may be written again and go on to grow. A file takes the place of an old one
/// when it is complete. A scene in which there is nothing, a file that cannot be written, and more than 2^31 - 1 vertices
/// get a warning and false. Each writer is linear in the size of the scene.
class TARO25D_API Visualizer3 {
  public:
    /// An empty scene. The title, in UTF-8 as all names, stands in the files.
    explicit Visualizer3(const std::string& title);
    /// Writes nothing.
    ~Visualizer3();
    Visualizer3(const Visualizer3&) = delete;
    Visualizer3& operator=(const Visualizer3&) = delete;

    /// Adds triangles whose colours follow their heights. Corners with the same address become one vertex.
    void addSurface(const std::vector<Triangle2*>& vTriangles, const std::string& layer, ColourRamp ramp);
    /// Adds triangles of one colour.
    void addSurface(const std::vector<Triangle2*>& vTriangles, const std::string& layer, const Color& color);
    /// Adds lines in space.
    void addSegments(const std::vector<Segment2>& vSegments, const std::string& layer, const Color& color);
    /// Adds a text at a place. Its mark and its size, in pixels then, are for the web scene.
    void addLabel(const Label& label, const std::string& layer);

    /// How many times higher the scene is to be shown than it is; 1 at first. The coordinates in the files do not change:
    /// GLB has the factor as a scale, the web scene begins with it, and only Geomview, which knows no scale, gets higher
    /// coordinates. A factor that is not greater than 0, or infinite, is refused with a warning.
    void setVerticalExaggeration(double factor);

    /// Wavefront OBJ with full precision, and its materials beside it: the name ends in .mtl instead of .obj, or has it
    /// appended. Layers are objects, the colours of a ramp 32 materials; lines are elements "l". Labels are left out.
    bool writeObj(const std::string& filename) const;
    /// Binary PLY, little endian, with full precision: colours at the vertices, triangles as element `face`, lines as
    /// element `edge`. The layers' names stand in comments. Labels are left out.
    bool writePly(const std::string& filename) const;
    /// Binary glTF 2.0. Heights are along y and north is along -z, as glTF has it. Positions are floats relative to a
    /// centre, which stands as `"centre": [x, y, z]` in the extras of the scene and of its root node: the place (a, b, c)
    /// of a mesh is x + a, y - c, z + b. That is exact to 1 mm up to 30 km from the centre, if the unit is a metre. Each
    /// layer is a node of that name; a label is a node of its own, with its text as name.
    bool writeGlb(const std::string& filename) const;
    /// Geomview's text format, relative to the middle of the scene, which a comment names: Geomview calculates with floats. A
    /// surface of one colour is half transparent there unless the colour says that shapes are filled. Labels are left out.
    bool writeGeomview(const std::string& filename) const;

    /// One HTML file that shows the scene in a browser, to be turned and measured, without a network: viewer and data are in
    /// it. Places are exact to a tenth of a millimetre, if the unit is a metre, and to a 16-millionth of the extent of smaller
    /// scenes. A library that was built without the viewer gives a warning that tells how to get it, and false.
    bool writeWebScene(const std::string& filename) const;

    /// The flag (not owned) that the client sets to end what this object is doing; null for none. What is being added is
    /// left out then and what is being written not written, and TaroCancelled is thrown.
    void setCancelFlag(const std::atomic<bool>* pFlag);
    /// Adds a listener for one type of messages, unless exactly that pair is already present. It is not owned, and is called
    /// from the thread that calls this object: with the fraction done, and with warnings.
    void subscribe(MsgType type, MsgBase* pListener);
    /// Removes a listener; nothing happens when it is not subscribed.
    void unsubscribe(MsgType type, MsgBase* pListener);

  private:
    std::unique_ptr<Scene3> pScene_;
};

}  // namespace LUMO_TARO25D
