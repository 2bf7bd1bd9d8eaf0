// One box, 2 by 1 by 3 from the origin, in each format that can be read but OBJ, and a small picture.
#ifndef TESTS_IMPORT_BOXMODELS_H
#define TESTS_IMPORT_BOXMODELS_H

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

struct BoxFace {
    std::array<int, 4> corner;
};
inline constexpr std::array<std::array<double, 3>, 8> boxCorners{
    {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {0, 1, 0}, {0, 0, 3}, {2, 0, 3}, {2, 1, 3}, {0, 1, 3}}};
inline constexpr std::array<BoxFace, 6> boxFaces{
    {{{3, 2, 1, 0}}, {{4, 5, 6, 7}}, {{0, 1, 5, 4}}, {{2, 3, 7, 6}}, {{1, 2, 6, 5}}, {{3, 0, 4, 7}}}};

inline std::string number(double v) {
    return std::to_string(v);
}

inline std::string boxStl() {
    std::string text = "solid box\n";
    for (const BoxFace& face : boxFaces) {
        for (const std::array<int, 3> t : {std::array<int, 3>{0, 1, 2}, std::array<int, 3>{0, 2, 3}}) {
            text += "facet normal 0 0 0\nouter loop\n";
            for (const int c : t) {
                const auto& p = boxCorners[static_cast<std::size_t>(face.corner[static_cast<std::size_t>(c)])];
                text += "vertex " + number(p[0]) + " " + number(p[1]) + " " + number(p[2]) + "\n";
            }
            text += "endloop\nendfacet\n";
        }
    }
    return text + "endsolid box\n";
}

// Binary, with one word for the colour of each facet: five bits each of red, green and blue, and one that says so.
inline std::string boxColourStl(std::uint16_t colour) {
    std::string file = "box" + std::string(77, ' ');
    const auto add = [&file](const auto& value) {
        char bytes[sizeof value];
        std::memcpy(bytes, &value, sizeof value);
        file.append(bytes, sizeof value);
    };
    add(std::uint32_t{12});
    for (const BoxFace& face : boxFaces) {
        for (const std::array<int, 3> t : {std::array<int, 3>{0, 1, 2}, std::array<int, 3>{0, 2, 3}}) {
            add(std::array<float, 3>{});
            for (const int c : t) {
                const auto& p = boxCorners[static_cast<std::size_t>(face.corner[static_cast<std::size_t>(c)])];
                add(std::array<float, 3>{static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])});
            }
            add(colour);
        }
    }
    return file;
}

inline std::string boxPolygons(const std::string& header, bool countAhead) {
    std::string text = header;
    for (const auto& p : boxCorners) {
        text += number(p[0]) + " " + number(p[1]) + " " + number(p[2]) + "\n";
    }
    for (const BoxFace& face : boxFaces) {
        text += countAhead ? "4" : "";
        for (const int c : face.corner) {
            text.append(" ").append(std::to_string(c));
        }
        text += "\n";
    }
    return text;
}

inline std::string boxPly() {
    return boxPolygons("ply\nformat ascii 1.0\nelement vertex 8\nproperty float x\nproperty float y\nproperty float z\n"
                       "element face 6\nproperty list uchar int vertex_indices\nend_header\n",
                       true);
}

// Each face a strip.
inline std::string boxPlyStrips() {
    std::string text = "ply\nformat ascii 1.0\nelement vertex 8\nproperty float x\nproperty float y\nproperty float z\n"
                       "element tristrips 1\nproperty list int int vertex_indices\nend_header\n";
    for (const auto& p : boxCorners) {
        text += number(p[0]) + ' ' + number(p[1]) + ' ' + number(p[2]) + '\n';
    }
    text += "30";
    for (const BoxFace& face : boxFaces) {
        for (const int corner : {face.corner[0], face.corner[1], face.corner[3], face.corner[2], -1}) {
            text += ' ' + std::to_string(corner);
        }
    }
    return text + '\n';
}

inline std::string boxOff() {
    return boxPolygons("OFF\n8 6 0\n", true);
}

inline std::string dxfPair(int code, const std::string& value) {
    return std::to_string(code) + "\n" + value + "\n";
}

inline std::string boxDxf() {
    std::string text = dxfPair(0, "SECTION") + dxfPair(2, "ENTITIES");
    for (const BoxFace& face : boxFaces) {
        text += dxfPair(0, "3DFACE") + dxfPair(8, "0");
        for (int i = 0; i < 4; ++i) {
            const auto& p = boxCorners[static_cast<std::size_t>(face.corner[static_cast<std::size_t>(i)])];
            text += dxfPair(10 + i, number(p[0])) + dxfPair(20 + i, number(p[1])) + dxfPair(30 + i, number(p[2]));
        }
    }
    return text + dxfPair(0, "ENDSEC") + dxfPair(0, "EOF");
}

inline std::string boxDae() {
    std::string positions;
    for (const auto& p : boxCorners) {
        positions += number(p[0]) + " " + number(p[1]) + " " + number(p[2]) + " ";
    }
    std::string counts;
    std::string indices;
    for (const BoxFace& face : boxFaces) {
        counts += "4 ";
        for (const int c : face.corner) {
            indices += std::to_string(c) + " ";
        }
    }
    return "<?xml version=\"1.0\"?><COLLADA xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" version=\"1.4.1\">"
           "<asset><up_axis>Y_UP</up_axis></asset><library_geometries><geometry id=\"g\"><mesh><source id=\"p\">"
           "<float_array id=\"a\" count=\"24\">" +
           positions +
           "</float_array><technique_common><accessor source=\"#a\" count=\"8\" stride=\"3\"><param name=\"X\" "
           "type=\"float\"/><param name=\"Y\" type=\"float\"/><param name=\"Z\" type=\"float\"/></accessor>"
           "</technique_common></source><vertices id=\"v\"><input semantic=\"POSITION\" source=\"#p\"/></vertices>"
           "<polylist count=\"6\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/><vcount>" +
           counts + "</vcount><p>" + indices +
           "</p></polylist></mesh></geometry></library_geometries><library_visual_scenes><visual_scene id=\"s\">"
           "<node id=\"n\"><instance_geometry url=\"#g\"/></node></visual_scene></library_visual_scenes>"
           "<scene><instance_visual_scene url=\"#s\"/></scene></COLLADA>";
}

inline std::string boxFbx() {
    std::string positions;
    for (const auto& p : boxCorners) {
        for (const double v : p) {
            positions.append(positions.empty() ? "" : ",").append(number(v));
        }
    }
    std::string indices;
    for (const BoxFace& face : boxFaces) {
        for (std::size_t i = 0; i < 4; ++i) {
            // The last index of a polygon is stored as its complement.
            indices.append(indices.empty() ? "" : ",");
            indices.append(std::to_string(i < 3 ? face.corner[i] : -face.corner[i] - 1));
        }
    }
    return "; FBX 7.3.0 project file\nFBXHeaderExtension: {\n FBXHeaderVersion: 1003\n FBXVersion: 7300\n}\n"
           "GlobalSettings: {\n Version: 1000\n Properties70: {\n  P: \"UpAxis\", \"int\", \"Integer\", \"\",2\n"
           "  P: \"UpAxisSign\", \"int\", \"Integer\", \"\",1\n  P: \"UnitScaleFactor\", \"double\", \"Number\", "
           "\"\",1\n }\n}\n"
           "Objects: {\n Geometry: 1, \"Geometry::box\", \"Mesh\" {\n  Vertices: *24 {\n   a: " +
           positions + "\n  }\n  PolygonVertexIndex: *24 {\n   a: " + indices +
           "\n  }\n  GeometryVersion: 124\n }\n Model: 2, \"Model::box\", \"Mesh\" {\n  Version: 232\n }\n}\n"
           "Connections: {\n C: \"OO\",1,2\n C: \"OO\",2,0\n}\n";
}

inline void append(std::string& out, const void* data, std::size_t size) {
    out.append(static_cast<const char*>(data), size);
}

inline std::string chunk3ds(std::uint16_t id, const std::string& content) {
    std::string out;
    const auto size = static_cast<std::uint32_t>(content.size() + 6);
    append(out, &id, 2);
    append(out, &size, 4);
    return out + content;
}

inline std::string box3ds() {
    std::string vertices;
    const std::uint16_t numVertices = 8;
    append(vertices, &numVertices, 2);
    for (const auto& p : boxCorners) {
        for (const double v : p) {
            const auto single = static_cast<float>(v);
            append(vertices, &single, 4);
        }
    }
    std::string faces;
    const std::uint16_t numFaces = 12;
    append(faces, &numFaces, 2);
    for (const BoxFace& face : boxFaces) {
        const std::array<int, 6> order{0, 1, 2, 0, 2, 3};
        for (std::size_t i = 0; i < 6; ++i) {
            const auto index = static_cast<std::uint16_t>(face.corner[static_cast<std::size_t>(order[i])]);
            append(faces, &index, 2);
            if (i % 3 == 2) {
                const std::uint16_t flags = 7;
                append(faces, &flags, 2);
            }
        }
    }
    const std::string mesh = chunk3ds(0x4100, chunk3ds(0x4110, vertices) + chunk3ds(0x4120, faces));
    return chunk3ds(0x4D4D, chunk3ds(0x3D3D, chunk3ds(0x4000, std::string("box") + '\0' + mesh)));
}

inline std::string base64(const std::string& data) {
    static const char* const letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < data.size(); i += 3) {
        std::uint32_t word = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            word = word << 8 | (i + k < data.size() ? static_cast<unsigned char>(data[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            out += i + k > data.size() ? '=' : letters[word >> (18 - 6 * k) & 63];
        }
    }
    return out;
}

inline std::string boxBuffer() {
    std::string buffer;
    for (const auto& p : boxCorners) {
        for (const double v : p) {
            const auto single = static_cast<float>(v);
            append(buffer, &single, 4);
        }
    }
    for (const BoxFace& face : boxFaces) {
        for (const std::size_t i : {0U, 1U, 2U, 0U, 2U, 3U}) {
            const auto index = static_cast<std::uint16_t>(face.corner[i]);
            append(buffer, &index, 2);
        }
    }
    return buffer;
}

// The box with material 0, placed by what nodes says; extra goes into the top level.
inline std::string gltfText(const std::string& buffer, const std::string& nodes, const std::string& extra,
                            const std::string& primitive) {
    return "{\"asset\":{\"version\":\"2.0\"},\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[" + nodes +
           "],\"meshes\":[{\"primitives\":[{\"attributes\":{\"POSITION\":0},\"indices\":1" + primitive + "}]}]," +
           extra + "\"buffers\":[{" + buffer +
           "\"byteLength\":168}],\"bufferViews\":[{\"buffer\":0,\"byteOffset\":0,\"byteLength\":96},{\"buffer\":0,"
           "\"byteOffset\":96,\"byteLength\":72}],\"accessors\":[{\"bufferView\":0,\"componentType\":5126,\"count\":8,"
           "\"type\":\"VEC3\",\"min\":[0,0,0],\"max\":[2,1,3]},{\"bufferView\":1,\"componentType\":5123,\"count\":36,"
           "\"type\":\"SCALAR\"}]}";
}

inline std::string boxGltf(const std::string& nodes = "{\"mesh\":0}", const std::string& extra = "",
                           const std::string& primitive = "") {
    return gltfText("\"uri\":\"data:application/octet-stream;base64," + base64(boxBuffer()) + "\",", nodes, extra,
                    primitive);
}

// further: bytes of the first chunk beyond a multiple of four.
inline std::string boxGlb(std::size_t further = 0) {
    std::string json = gltfText("", "{\"mesh\":0}", "", "");
    json.resize((json.size() + 3) / 4 * 4 + further, ' ');
    const std::string buffer = boxBuffer();
    std::string out;
    const auto word = [&out](std::uint32_t v) { append(out, &v, 4); };
    word(0x46546C67);
    word(2);
    word(static_cast<std::uint32_t>(12 + 8 + json.size() + 8 + buffer.size()));
    word(static_cast<std::uint32_t>(json.size()));
    word(0x4E4F534A);
    out += json;
    word(static_cast<std::uint32_t>(buffer.size()));
    word(0x004E4942);
    return out + buffer;
}

// A 2 by 1 bitmap, left pixel red, right pixel blue.
inline std::string redBlueBmp() {
    std::string out = "BM";
    const auto word = [&out](std::uint32_t v) { append(out, &v, 4); };
    word(62);
    word(0);
    word(54);
    word(40);
    word(2);
    word(1);
    word(1U | 24U << 16);
    word(0);
    word(8);
    word(2835);
    word(2835);
    word(0);
    word(0);
    out += std::string("\x00\x00\xFF\xFF\x00\x00\x00\x00", 8);
    return out;
}

// A file within an archive that compresses nothing (zip, APPNOTE.TXT 6.3.3).
struct ZipEntry {
    std::string name;
    std::string content;
};

inline std::uint32_t zipChecksum(const std::string& content) {
    std::uint32_t sum = 0xFFFFFFFFU;
    for (const char c : content) {
        sum ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~sum;
}

inline std::string zipOf(const std::vector<ZipEntry>& entries) {
    const auto bytes = [](std::uint32_t value, int count) {
        std::string text;
        for (int i = 0; i < count; ++i) {
            text += static_cast<char>(value >> (8 * i) & 0xFFU);
        }
        return text;
    };
    std::string files;
    std::string directory;
    for (const ZipEntry& entry : entries) {
        const auto size = static_cast<std::uint32_t>(entry.content.size());
        const std::string common = bytes(20, 2) + bytes(0, 2) + bytes(0, 2) + bytes(0, 4) +
                                   bytes(zipChecksum(entry.content), 4) + bytes(size, 4) + bytes(size, 4) +
                                   bytes(static_cast<std::uint32_t>(entry.name.size()), 2) + bytes(0, 2);
        directory += bytes(0x02014B50, 4) + bytes(20, 2) + common + bytes(0, 2) + bytes(0, 2) + bytes(0, 2) +
                     bytes(0, 4) + bytes(static_cast<std::uint32_t>(files.size()), 4) + entry.name;
        files += bytes(0x04034B50, 4) + common + entry.name + entry.content;
    }
    const auto count = static_cast<std::uint32_t>(entries.size());
    return files + directory + bytes(0x06054B50, 4) + bytes(0, 4) + bytes(count, 2) + bytes(count, 2) +
           bytes(static_cast<std::uint32_t>(directory.size()), 4) + bytes(static_cast<std::uint32_t>(files.size()), 4) +
           bytes(0, 2);
}

// The entries of a package with that model.
inline std::vector<ZipEntry> packageOf3mf(const std::string& model) {
    const std::string head = "<?xml version=\"1.0\"?>";
    return {{"[Content_Types].xml",
             head + "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\"><Default "
                    "Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
                    "<Default Extension=\"model\" "
                    "ContentType=\"application/vnd.ms-package.3dmanufacturing-3dmodel+xml\"/>"
                    "<Default Extension=\"png\" ContentType=\"image/png\"/></Types>"},
            {"_rels/.rels",
             head + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
                    "<Relationship Target=\"/3D/3dmodel.model\" Id=\"rel0\" "
                    "Type=\"http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel\"/></Relationships>"},
            {"3D/3dmodel.model", model}};
}

inline std::string box3mf() {
    const std::string head = "<?xml version=\"1.0\"?>";
    std::string model = head + "<model unit=\"millimeter\" xmlns=\"http://schemas.microsoft.com/3dmanufacturing/core/"
                               "2015/02\"><resources><object id=\"1\" type=\"model\"><mesh><vertices>";
    for (const auto& p : boxCorners) {
        model += "<vertex x=\"" + number(p[0]) + "\" y=\"" + number(p[1]) + "\" z=\"" + number(p[2]) + "\"/>";
    }
    model += "</vertices><triangles>";
    for (const BoxFace& face : boxFaces) {
        const auto& c = face.corner;
        for (const std::array<int, 3> t :
             {std::array<int, 3>{c[0], c[1], c[2]}, std::array<int, 3>{c[0], c[2], c[3]}}) {
            model += "<triangle v1=\"" + std::to_string(t[0]) + "\" v2=\"" + std::to_string(t[1]) + "\" v3=\"" +
                     std::to_string(t[2]) + "\"/>";
        }
    }
    model += "</triangles></mesh></object></resources><build><item objectid=\"1\"/></build></model>";
    return zipOf(packageOf3mf(model));
}

#endif
