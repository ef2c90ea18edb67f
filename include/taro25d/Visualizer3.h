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
/// Objects are copied when they are added, so they may change or be destroyed afterwards. A layer is created by the
/// first object that names it; layers keep this order. Null pointers, triangles without corners and objects with a
/// coordinate that is NaN or infinite are left out, with one warning for each call. Only red, green and blue of a Color
/// are used, clamped to the range from 0 to 1; coordinates may be in any unit, which x, y and z share.
///
/// Writing does not change the scene; objects may be added and files written again afterwards. A file replaces an old
/// one only when it is complete. An empty scene, a file that cannot be written, and more than 2^31 - 1 vertices get a
/// warning and false. Each writer is linear in the size of the scene.
class TARO25D_API Visualizer3 {
  public:
    /// An empty scene. The title is written into the files. It is in UTF-8, like all names.
    explicit Visualizer3(const std::string& title);
    /// Writes nothing.
    ~Visualizer3();
    Visualizer3(const Visualizer3&) = delete;
    Visualizer3& operator=(const Visualizer3&) = delete;

    /// Adds triangles coloured by height. Corners with equal addresses become one vertex.
    void addSurface(const std::vector<Triangle2*>& vTriangles, const std::string& layer, ColourRamp ramp);
    /// Adds triangles of one colour.
    void addSurface(const std::vector<Triangle2*>& vTriangles, const std::string& layer, const Color& color);
    /// Adds lines in space; lines of one layer and colour become one object. The web scene draws them in the width of
    /// the colour, unless that is the default width.
    void addSegments(const std::vector<Segment2>& vSegments, const std::string& layer, const Color& color);
    /// Adds a text at a place. Only the web scene shows its mark and its size, which is in pixels there.
    void addLabel(const Label& label, const std::string& layer);

    /// Sets the factor by which heights are exaggerated when the scene is shown; 1 at first. The coordinates in the
    /// files do not change: GLB stores the factor as a scale, the web scene starts with it, and only Geomview, which
    /// has no scale, gets multiplied heights. A factor that is not greater than 0, or infinite, is refused with a
    /// warning.
    void setVerticalExaggeration(double factor);

    /// Wavefront OBJ with full precision, and its materials beside it: the name ends in .mtl instead of .obj, or has it
    /// appended. Layers are objects, the colours of a ramp 32 materials; lines are elements "l". Labels are left out.
    bool writeObj(const std::string& filename) const;
    /// Binary PLY, little endian, with full precision: colours at the vertices, triangles as element `face`, lines as
    /// element `edge`. The layers' names stand in comments. Labels are left out.
    bool writePly(const std::string& filename) const;
    /// Binary glTF 2.0. Heights are along y and north is along -z, as glTF has it. Positions are floats relative to a
    /// centre, which stands as `"centre": [x, y, z]` in the extras of the scene and of its root node: the place (a, b,
    /// c) of a mesh is x + a, y - c, z + b. Positions are exact to 1 mm up to 30 km from the centre, if the unit is a
    /// metre. Coordinates beyond the range of floats give a warning and false. Each layer is a node of that name; a
    /// label is a node of its own, with its text as name.
    bool writeGlb(const std::string& filename) const;
    /// Geomview's text format, relative to the middle of the scene, which a comment names: Geomview calculates with
    /// floats. A surface of one colour is half transparent there unless the colour says that shapes are filled. Labels
    /// are left out.
    bool writeGeomview(const std::string& filename) const;

    /// One HTML file that shows the scene in a browser, to be turned and measured, without a network: viewer and data
    /// are in it. Places are exact to a tenth of a millimetre, if the unit is a metre, and in smaller scenes to a
    /// 16-millionth of the extent. An extent above 1e18 units, exaggerated heights included, gives a warning and false,
    /// since the page draws with floats. A library that was built without the viewer gives a warning that tells how to
    /// get it, and false.
    bool writeWebScene(const std::string& filename) const;

    /// Sets the flag (not owned) by which the client cancels a call of this object; null for none. The call then adds
    /// or writes nothing and throws TaroCancelled.
    void setCancelFlag(const std::atomic<bool>* pFlag);
    /// Adds a listener for one type of messages, unless exactly that pair is already present. It is not owned, and is
    /// called from the thread that calls this object: with the fraction done, and with warnings.
    void subscribe(MsgType type, MsgBase* pListener);
    /// Removes a listener; nothing happens when it is not subscribed.
    void unsubscribe(MsgType type, MsgBase* pListener);

  private:
    std::unique_ptr<Scene3> pScene_;
};

}  // namespace LUMO_TARO25D
