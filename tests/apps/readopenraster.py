"""Reads an OpenRaster file as the format asks for, and prints its layers from the lowest up."""
import struct
import sys
import xml.etree.ElementTree
import zipfile


def png_size(data):
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "no PNG"
    return struct.unpack(">II", data[16:24])


def layers_of(stack, path=()):
    for child in stack:
        name = child.get("name")
        if child.tag == "stack":
            yield from layers_of(child, path + (name,))
        else:
            assert child.tag == "layer", child.tag
            assert child.get("composite-op", "svg:src-over") == "svg:src-over"
            assert float(child.get("opacity", "1.0")) == 1.0
            yield "/".join(path + (name,)), child.get("src"), int(child.get("x", 0)), int(child.get("y", 0))


with zipfile.ZipFile(sys.argv[1]) as archive:
    assert archive.testzip() is None, "a wrong checksum"
    first = archive.infolist()[0]
    assert first.filename == "mimetype" and first.compress_type == zipfile.ZIP_STORED, first
    assert archive.read("mimetype") == b"image/openraster"
    image = xml.etree.ElementTree.fromstring(archive.read("stack.xml"))
    assert image.tag == "image" and image.get("version") == "0.0.5", image.attrib
    size = int(image.get("w")), int(image.get("h"))
    assert [child.tag for child in image] == ["stack"]
    layers = list(layers_of(image[0]))
    assert len({source for _, source, _, _ in layers}) == len(layers)
    for _, source, x, y in layers:
        assert source.startswith("data/") and (x, y) == (0, 0)
        assert png_size(archive.read(source)) == size, source
    assert png_size(archive.read("mergedimage.png")) == size
    assert max(png_size(archive.read("Thumbnails/thumbnail.png"))) <= 256
    print(" ".join(name for name, _, _, _ in reversed(layers)))
