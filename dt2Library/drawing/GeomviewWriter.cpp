// Geomview's object format: a LIST of OFF and VECT objects. Geomview computes in floats, so coordinates are relative to
// the middle of the scene.

#include "drawing/SceneFile.h"

namespace LUMO_TARO25D {

namespace {

class GeomviewWriter {
  public:
    GeomviewWriter(const Scene3& scene, SceneFile& file, SceneTask& task)
        : scene_(scene), file_(file), task_(task), centre_(scene.getCentre()) {}

    void write() {
        file_ << "LIST\n# " << toOneLine(scene_.title) << "\n# relative to x " << centre_[0] << ", y " << centre_[1]
              << ", z " << centre_[2] << "; heights times " << scene_.exaggeration << '\n';
        for (const SceneSurface& surface : scene_.vSurfaces) write(surface);
        for (const SceneLines& lines : scene_.vLines) write(lines);
    }

  private:
    void beginLayer(size_t layer) { file_ << "# layer " << toOneLine(scene_.vLayers[layer]) << '\n'; }
    void writePlace(const Xyz& place) {
        file_ << place[0] - centre_[0] << ' ' << place[1] - centre_[1] << ' '
              << (place[2] - centre_[2]) * scene_.exaggeration;
    }
    void writeColor(const Rgb8& color, const char* alpha) {
        file_ << ' ' << color.r / 255.0 << ' ' << color.g / 255.0 << ' ' << color.b / 255.0 << ' ' << alpha;
    }

    void write(const SceneSurface& surface) {
        beginLayer(surface.layer);
        file_ << (surface.ramp ? "{ COFF\n" : "{ OFF\n") << surface.vVertices.size() << ' ' << surface.numTriangles()
              << " 0\n";
        const RampColors colors = scene_.getColors(surface.ramp.value_or(CR_TERRAIN));
        task_.forEach(surface.vVertices.size(), [&](size_t i) {
            const Xyz& vertex = surface.vVertices[i];
            writePlace(vertex);
            if (surface.ramp) writeColor(colors(vertex[2]), "1");
            file_ << '\n';
        });
        task_.forEach(surface.numTriangles(), [&](size_t i) {
            file_ << '3';
            for (size_t k = 3 * i; k < 3 * i + 3; ++k) file_ << ' ' << surface.vTriangles[k];
            if (!surface.ramp) writeColor(toRgb8(surface.color), surface.color.bFill ? "1" : "0.5");
            file_ << '\n';
        });
        file_ << "}\n";
    }

    void write(const SceneLines& lines) {
        beginLayer(lines.layer);
        const size_t numLines = lines.vEnds.size() / 2;
        file_ << "{ VECT\n" << numLines << ' ' << lines.vEnds.size() << " 1\n";
        for (size_t i = 0; i < numLines; ++i) file_ << "2\n";
        for (size_t i = 0; i < numLines; ++i) file_ << (i == 0 ? "1\n" : "0\n");  // the first colour applies to all
        task_.forEach(lines.vEnds.size(), [&](size_t i) {
            writePlace(lines.vEnds[i]);
            file_ << '\n';
        });
        writeColor(toRgb8(lines.color), "1\n}\n");
    }

    const Scene3& scene_;
    SceneFile& file_;
    SceneTask& task_;
    const Xyz centre_;
};

}  // namespace

void writeGeomview(const Scene3& scene, SceneFile& file, SceneTask& task) { GeomviewWriter(scene, file, task).write(); }

}  // namespace LUMO_TARO25D
