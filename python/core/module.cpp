// selvarin._core: what the package's Python files stand on. Its functions take what those have prepared already; users
// do not call them.
#include "core/drawings.h"
#include "core/looks.h"
#include "core/meshdata.h"
#include "core/pictures.h"
#include "core/pythonscene.h"
#include "core/rendering.h"
#include "core/runtime.h"
#include "core/skins.h"

#include "apps/common/papers.h"
#include "apps/common/usageerror.h"
#include "apps/common/viewchoice.h"
#include "import/scenebuilder.h"
#include "kivrender/platform/kivmodule.h"
#include "kivrender/platform/kivtext.h"

#include <numeric>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

namespace {

using ObjectPointer = std::shared_ptr<SceneObject>;
using Colour3 = std::array<double, 3>;

kivimport::Colour colourOf(const Colour3& c) {
    return {c[0], c[1], c[2]};
}

std::uint32_t packed(const Colour3& c) {
    std::uint32_t colour = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        colour |= static_cast<std::uint32_t>(std::lround(std::clamp(c[i], 0.0, 1.0) * 255.0)) << (8 * i);
    }
    return colour;
}

// --- geometry ---

// Red, green, blue, opacity and gloss, all from 0 to 1.
using Paint = std::array<double, 5>;

kivimport::Material materialOf(const Paint& paint) {
    kivimport::Material material;
    material.diffuse = {paint[0], paint[1], paint[2]};
    material.opacity = paint[3];
    // As the readers of glTF understand what is not rough (section 3.9.2).
    constexpr double exponentOfPolished = 1000.0;
    material.specular = {paint[4], paint[4], paint[4]};
    material.shininess = paint[4] * paint[4] * exponentOfPolished;
    return material;
}

ObjectPointer add(PythonScene& scene, const std::string& name, ObjectKind kind, kivimport::ModelParts parts,
                  double crease = 0.0) {
    const LibraryUse library;
    return scene.add(std::make_shared<SceneObject>(kivFromUtf8(name), kind, std::move(parts), crease));
}

// Whether most triangles have one normal at all three corners.
bool isShadedFlat(const kivimport::Surface& surface) {
    constexpr double nearlyOne = 1.0 - 1e-6;
    std::size_t flat = 0;
    for (std::size_t i = 0; i + 2 < surface.cornerNormals.size(); i += 3) {
        const kivimport::Vec3 a = unit(surface.normals[surface.cornerNormals[i]]);
        flat += dot(a, unit(surface.normals[surface.cornerNormals[i + 1]])) > nearlyOne &&
                        dot(a, unit(surface.normals[surface.cornerNormals[i + 2]])) > nearlyOne
                    ? 1
                    : 0;
    }
    return flat > surface.cornerNormals.size() / 6;
}

// One to a vertex, or one to a corner of the triangles.
void takeNormals(kivimport::Surface& surface, const py::array& normals, bool byCorner) {
    surface.normals = readPoints(normals, "normals");
    const std::size_t expected = byCorner ? surface.corners.size() : surface.positions.size();
    if (surface.normals.size() != expected) {
        throw py::value_error("normals has " + std::to_string(surface.normals.size()) + " rows, but there are " +
                              std::to_string(expected) + (byCorner ? " corners" : " vertices"));
    }
    surface.cornerNormals = surface.corners;
    if (byCorner) {
        std::iota(surface.cornerNormals.begin(), surface.cornerNormals.end(), 0U);
    }
    surface.normalsAreMeant = isShadedFlat(surface);
}

// The next of the colours that take turns.
kivimport::Material nextMaterial(PythonScene& scene, double opacity) {
    kivimport::Material material;
    material.diffuse = kivimport::defaultColour(scene.nextColour());
    material.opacity = opacity;
    return material;
}

// faces: (M, 3), or the corners of polygons one behind the other with their offsets. facePaints: for each face the
// number of its paint; without any paint the object gets the next colour with that opacity.
ObjectPointer addMesh(PythonScene& scene, const py::array& vertices, const py::array& faces,
                      const std::optional<std::vector<std::uint64_t>>& offsets, const std::string& name,
                      const std::optional<Transform>& transform, const std::optional<py::array>& normals,
                      bool normalsByCorner, const std::vector<Paint>& paints,
                      const std::optional<py::array>& facePaints, double opacity, double crease, const SkinPlaces& skin,
                      const std::vector<TextureOfMaterial>& textures) {
    kivimport::ModelParts parts;
    kivimport::Surface& surface = parts.surfaces.emplace_back();
    auto [positions, corners] = readMesh(vertices, faces, transform);
    surface.positions = std::move(positions);
    const std::size_t numFaces = offsets ? offsets->size() - 1 : corners.size() / 3;
    if (paints.empty()) {
        parts.materials.push_back(nextMaterial(scene, opacity));
    }
    for (const Paint& paint : paints) {
        parts.materials.push_back(materialOf(paint));
    }
    for (std::uint32_t i = 0; i < parts.materials.size(); ++i) {
        surface.parts.push_back({name, i});
    }
    if (facePaints) {
        surface.triangleParts = readIndices(*facePaints, "face_materials", paints.size(), "materials");
        if (surface.triangleParts.size() != numFaces) {
            throw py::value_error("there are " + std::to_string(surface.triangleParts.size()) + " materials for " +
                                  std::to_string(numFaces) + " faces");
        }
    }
    if (offsets) {
        const py::gil_scoped_release released;
        triangulateAll(surface, corners, *offsets);
    } else {
        surface.corners = std::move(corners);
    }
    if (normals) {
        takeNormals(surface, *normals, normalsByCorner);
    }
    takeSkin(parts, skin, textures);
    return add(scene, name, ObjectKind::mesh, std::move(parts), crease);
}

// Lines one behind the other; places: the vertices of all of them.
ObjectPointer addLines(PythonScene& scene, const py::array& points, const py::array& places,
                       const std::vector<std::uint64_t>& offsets, bool closed, const std::string& name,
                       const std::optional<Transform>& transform, const Colour3& colour) {
    const kivimport::Points all = readPoints(points, "points", transform);
    const kivimport::Indices indices = readIndices(places, "lines", all.size(), "points");
    kivimport::ModelParts parts;
    parts.materials.push_back(materialOf({colour[0], colour[1], colour[2], 1.0, 0.0}));
    for (std::size_t i = 0; i + 1 < offsets.size(); ++i) {
        if (offsets[i + 1] > indices.size() || offsets[i + 1] < offsets[i] + 2) {
            throw py::value_error("lines[" + std::to_string(i) + "] has fewer than two points");
        }
        kivimport::Polyline& line = parts.polylines.emplace_back();
        line.closed = closed;
        line.material = 0;
        for (std::uint64_t k = offsets[i]; k < offsets[i + 1]; ++k) {
            line.points.push_back(all[indices[k]]);
        }
    }
    return add(scene, name, ObjectKind::lines, std::move(parts));
}

ObjectPointer addPoints(PythonScene& scene, const py::array& points, const std::string& name,
                        const std::optional<Transform>& transform) {
    kivimport::ModelParts parts;
    parts.materials.emplace_back();
    parts.points = readPoints(points, "points", transform);
    return add(scene, name, ObjectKind::points, std::move(parts));
}

// --- files ---

py::tuple load(PythonScene& scene, const std::vector<std::string>& files, char upAxis, double crease,
               py::object callback) {
    RenderProgress progress(std::move(callback));
    std::vector<std::string> warnings;
    std::vector<ObjectPointer> objects;
    std::vector<std::wstring> paths;
    for (const std::string& file : files) {
        paths.push_back(kivFromUtf8(file));
    }
    KivModelOptions options;
    options.creaseAngle = crease;
    if (upAxis == 'y' || upAxis == 'z') {
        options.upAxis = upAxis == 'y' ? KivModelOptions::Axis::y : KivModelOptions::Axis::z;
    }
    options.progress = [&progress](double done) { return progress.show(done, L"Reading the model"); };
    bool isCancelled = false;
    {
        const LibraryUse library;
        try {
            objects = scene.load(paths, options, warnings);
        } catch (const Cancelled&) {
            isCancelled = true;
        }
    }
    if (isCancelled) {
        progress.rethrow();
        throw Cancelled();
    }
    return py::make_tuple(objects, warnings);
}

// --- renders ---

template <class Value> std::optional<Value> given(const py::dict& from, const char* key) {
    const py::object value = from[key];
    return value.is_none() ? std::optional<Value>() : value.cast<Value>();
}

ViewRequest viewOf(const py::dict& from) {
    ViewRequest view;
    view.eye = given<Vector3>(from, "eye");
    view.target = given<Vector3>(from, "target");
    view.direction = given<Vector3>(from, "direction");
    view.up = given<Vector3>(from, "up");
    view.fov = given<double>(from, "fov");
    view.height = given<double>(from, "height");
    view.window = from["window"].cast<std::array<double, 4>>();
    return view;
}

LookOptions lookOf(const py::dict& from) {
    return lookOfPython(from["style"], from["base"], from["add"], from["settings"]);
}

RenderRequest requestOf(const py::dict& from) {
    RenderRequest request;
    request.width = from["width"].cast<std::int32_t>();
    request.height = from["height"].cast<std::int32_t>();
    request.antialias = from["antialias"].cast<int>();
    request.shadows = from["shadows"].cast<bool>();
    request.transparency = from["transparency"].cast<bool>();
    request.wantsDepth = from["depth"].cast<bool>();
    request.wantsShadow = from["shadow_map"].cast<bool>();
    if (const auto colour = given<Colour3>(from, "background")) {
        request.background = packed(*colour);
    }
    request.ambient = packed(from["ambient"].cast<Colour3>());
    request.backgroundImage = from["background_image"].cast<std::string>();
    request.paper = from["paper"].cast<std::string>();
    request.offset = from["offset"].cast<double>();
    request.temporaryFolder = kivFromUtf8(from["temporary_folder"].cast<std::string>());
    request.view = viewOf(from["camera"]);
    request.look = lookOf(from["look"]);
    return request;
}

py::tuple render(PythonScene& scene, const py::dict& options, py::object callback) {
    const RenderRequest request = requestOf(options);
    RenderProgress progress(std::move(callback));
    std::vector<std::string> warnings;
    std::shared_ptr<PictureData> picture;
    {
        LibraryUse library;
        picture = renderPicture(library, scene, request, progress, warnings);
    }
    if (!picture) {
        progress.rethrow();
    }
    return py::make_tuple(picture, warnings);
}

py::tuple draw(PythonScene& scene, const py::dict& options, const std::string& areas, const std::string& textures,
               bool hidden, const std::string& title, py::object callback) {
    const RenderRequest request = requestOf(options);
    const AreaKind kind = areas == "regions" ? AreaKind::regions
                          : areas == "faces" ? AreaKind::faces
                                             : AreaKind::triangles;
    const TextureKind paint = textures == "areas"  ? TextureKind::areas
                              : textures == "mean" ? TextureKind::mean
                                                   : TextureKind::picture;
    RenderProgress progress(std::move(callback));
    std::vector<std::string> warnings;
    std::shared_ptr<DrawingData> drawing;
    {
        LibraryUse library;
        drawing = renderDrawing(library, scene, request, kind, paint, hidden, kivFromUtf8(title), progress, warnings);
    }
    if (!drawing) {
        progress.rethrow();
    }
    return py::make_tuple(drawing, warnings);
}

py::dict resolve(PythonScene& scene, const py::dict& camera, double aspect) {
    const ViewRequest view = viewOf(camera);
    RenderProgress progress{py::none()};
    ResolvedView resolved;
    {
        LibraryUse library;
        resolved = resolveView(library, scene, view, aspect, progress);
    }
    py::dict result;
    result["eye"] = py::tuple(py::cast(resolved.eye));
    result["direction"] = py::tuple(py::cast(resolved.direction));
    result["up"] = py::tuple(py::cast(resolved.up));
    result["fov"] = resolved.fov;
    result["height"] = resolved.height;
    result["near"] = resolved.nearPlane;
    result["far"] = resolved.farPlane;
    return result;
}

// --- lights, objects, pictures ---

void addLight(PythonScene& scene, const std::string& kind, const std::optional<Vector3>& position,
              const std::optional<Vector3>& direction, double angle, const Colour3& colour) {
    const Vector3 place = position.value_or(Vector3{});
    const Vector3 way = direction.value_or(Vector3{});
    const bool isDirectional = kind == "directional";
    KivLight light = placedLight({place[0], place[1], place[2]}, {way[0], way[1], way[2]}, angle);
    if (isDirectional) {
        Kiv3DVector unit(way[0], way[1], way[2]);
        unit.normalice();
        light = directionalLight(unit, {{0.0, 0.0, 0.0}});
    }
    setLightColour(light, packed(colour));
    const LibraryUse library;
    scene.addLight(light, isDirectional);
}

void setLook(SceneObject& object, const std::optional<py::dict>& from) {
    const std::optional<LookOptions> look = from ? std::optional(lookOf(*from)) : std::nullopt;
    const LibraryUse library;
    object.setLook(look ? objectLooksOf(*look) : nullptr);
}

// Runs a short piece of work with the library's lock held.
template <class Work> auto locked(Work work) {
    const LibraryUse library;
    return work();
}

py::tuple boundsOf(const SceneObject& object) {
    const KivBox box = locked([&] { return object.bounds(); });
    return py::make_tuple(py::make_tuple(box.getXMin(), box.getYMin(), box.getZMin()),
                          py::make_tuple(box.getXMax(), box.getYMax(), box.getZMax()));
}

// What takes long does so without the interpreter's lock.
template <class Work> py::bytes bytesOf(Work work) {
    std::string bytes;
    {
        const py::gil_scoped_release released;
        bytes = work();
    }
    return py::bytes(bytes);
}

py::array pixelsOf(const std::shared_ptr<PictureData>& picture) {
    py::array_t<std::uint8_t> array({picture->height(), picture->width(), 4}, picture->pixels(), py::cast(picture));
    array.attr("setflags")(py::arg("write") = false);
    return array;
}

py::object greyOf(const std::shared_ptr<PictureData>& picture, GreyPicture PictureData::*part) {
    GreyPicture& grey = (*picture).*part;
    if (grey.values.empty()) {
        return py::none();
    }
    py::array_t<std::uint8_t> array({grey.height, grey.width}, grey.values.data(), py::cast(picture));
    array.attr("setflags")(py::arg("write") = false);
    return array;
}

void registerErrors(py::module_& module) {
    static py::exception<SelvarinError> error(module, "Error", PyExc_RuntimeError);
    static py::exception<ModelError> modelError(module, "ModelError", error.ptr());
    static py::exception<RenderError> renderError(module, "RenderError", error.ptr());
    static py::exception<Cancelled> cancelled(module, "Cancelled", error.ptr());
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const ModelError& e) {
            modelError(e.what());
        } catch (const RenderError& e) {
            renderError(e.what());
        } catch (const Cancelled& e) {
            cancelled(e.what());
        } catch (const SelvarinError& e) {
            error(e.what());
        } catch (const UsageError& e) {
            PyErr_SetString(PyExc_ValueError, e.what());
        }
    });
}

void defineObjects(py::module_& module) {
    py::class_<SceneObject, ObjectPointer>(module, "Object")
        .def_property(
            "name", [](const SceneObject& o) { return kivToUtf8(o.name); },
            [](SceneObject& o, const std::string& name) { locked([&] { o.name = kivFromUtf8(name); }); })
        .def_property(
            "visible", [](const SceneObject& o) { return o.isVisible; },
            [](SceneObject& o, bool value) { locked([&] { o.isVisible = value; }); })
        .def_property_readonly("kind",
                               [](const SceneObject& o) {
                                   constexpr const char* names[] = {"mesh", "lines", "points"};
                                   return names[static_cast<std::size_t>(o.kind())];
                               })
        .def_property_readonly("num_triangles",
                               [](const SceneObject& o) { return locked([&] { return o.numTriangles(); }); })
        .def_property_readonly("num_vertices",
                               [](const SceneObject& o) { return locked([&] { return o.numVertices(); }); })
        .def_property_readonly("bounds", boundsOf)
        .def("set_color", [](SceneObject& o, const Colour3& c) { locked([&] { o.setColour(colourOf(c)); }); })
        .def("set_opacity", [](SceneObject& o, double opacity) { locked([&] { o.setOpacity(opacity); }); })
        .def("set_look", setLook);
}

void defineScene(py::module_& module) {
    py::class_<SkinPlaces>(module, "SkinPlaces")
        .def(py::init([](std::optional<py::array> places, std::string name, bool byCorner, bool areColours) {
            return SkinPlaces{std::move(places), std::move(name), byCorner, areColours};
        }));
    py::class_<TextureData, std::shared_ptr<TextureData>>(module, "TextureData");
    module.def("make_texture", [](const py::array_t<std::uint8_t>& pixels, const std::string& wrap, double cutOut) {
        return std::make_shared<TextureData>(makeTexture(pixels, wrap, cutOut));
    });
    module.def("read_texture", [](const std::string& file, const std::string& wrap, double cutOut) {
        return std::make_shared<TextureData>(readTexture(file, wrap, cutOut));
    });
    py::class_<PythonScene>(module, "Scene")
        .def(py::init([](char upAxis) {
            startLibrary();
            return PythonScene(upAxis);
        }))
        .def("add_mesh", addMesh)
        .def("add_lines", addLines)
        .def("add_points", addPoints)
        .def("add_light", addLight)
        .def("add_demo", [](PythonScene& s) { return locked([&] { return s.addDemo(); }); })
        .def("load", load)
        .def("remove", [](PythonScene& s, const SceneObject& o) { return locked([&] { return s.remove(o); }); })
        .def("remove_lights", [](PythonScene& s) { locked([&] { s.removeLights(); }); })
        .def_property_readonly("up", [](const PythonScene& s) { return s.up().z > 0.0 ? "z" : "y"; })
        .def_property_readonly("num_lights", &PythonScene::numLights)
        .def_property_readonly("objects", [](const PythonScene& s) { return s.objects(); })
        .def("render", render)
        .def("draw", draw)
        .def("resolve", resolve);
}

void definePicture(py::module_& module) {
    py::class_<PictureData, std::shared_ptr<PictureData>>(module, "PictureData")
        .def_property_readonly("pixels", pixelsOf)
        .def_property_readonly("depth",
                               [](const std::shared_ptr<PictureData>& p) { return greyOf(p, &PictureData::depth); })
        .def_property_readonly("shadow",
                               [](const std::shared_ptr<PictureData>& p) { return greyOf(p, &PictureData::shadow); })
        .def_property_readonly("depth_range",
                               [](const PictureData& p) { return std::make_pair(p.nearPlane, p.farPlane); })
        .def_property_readonly("is_perspective", [](const PictureData& p) { return p.isPerspective; })
        .def_property_readonly("is_opaque", &PictureData::isOpaque)
        .def("encode",
             [](const PictureData& p, const std::string& ending) { return bytesOf([&] { return p.encode(ending); }); });
}

void defineDrawing(py::module_& module) {
    py::class_<DrawingData, std::shared_ptr<DrawingData>>(module, "DrawingData")
        .def_property_readonly("width", [](const DrawingData& d) { return d.drawing.width; })
        .def_property_readonly("height", [](const DrawingData& d) { return d.drawing.height; })
        .def_property_readonly("units_per_pixel", [](const DrawingData& d) { return d.drawing.unitsPerPixel; })
        .def("strokes", &DrawingData::strokes)
        .def("areas", &DrawingData::areas)
        .def("encode", [](const DrawingData& d, const std::string& ending, const py::dict& sheet) {
            return d.encode(ending, sheetOf(sheet));
        });
}

} // namespace

PYBIND11_MODULE(_core, module) {
    module.doc() = "The compiled half of selvarin.";
    module.attr("version") = SELVARIN_VERSION;
    registerErrors(module);
    defineObjects(module);
    defineScene(module);
    definePicture(module);
    defineDrawing(module);
    module.def("encode", [](const py::array_t<std::uint8_t, py::array::c_style>& array, const std::string& ending) {
        const auto rows = static_cast<std::int32_t>(array.shape(0));
        const auto columns = static_cast<std::int32_t>(array.shape(1));
        const auto step = static_cast<int>(array.shape(2));
        const std::uint8_t* const pixels = array.data();
        return bytesOf([&] { return encodePixels(pixels, columns, rows, step, ending); });
    });
    module.def("styles", listStyles);
    module.def("shaders", listShaders);
    module.def("papers", paperNames);
    module.def("check_look", [](const py::dict& from) {
        const LookOptions look = lookOf(from);
        const LibraryUse library;
        return applyLook(look).warnings;
    });
    module.def("resolved_look", [](const py::dict& from) { return resolvedLook(lookOf(from)); });
    module.def("formats", [] {
        std::vector<std::pair<std::string, std::string>> formats;
        for (const KivModelFormat& format : kivModelFormats()) {
            formats.emplace_back(kivToUtf8(format.ending), kivToUtf8(format.name));
        }
        return formats;
    });
    module.def("padded_cells", [](const py::array& array, const std::string& what) {
        const PaddedCells cells = readPadded(array, what);
        // By a shape: with a count pybind11 asks the type for its size, which before 2.12 it can't read in numpy 2.
        const auto copied = [](const std::vector<std::uint64_t>& list) {
            return py::array_t<std::uint64_t>({static_cast<py::ssize_t>(list.size())}, list.data());
        };
        return py::make_tuple(copied(cells.offsets), copied(cells.places));
    });
    module.def("library_folder", [] { return kivToUtf8(kivLibraryFolder()); });
    module.def("after_fork", afterFork);
}
