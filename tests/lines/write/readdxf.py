# Reads DXF files as their users' programs do and prints what is in them, one line each.
import sys

import ezdxf


def place(point):
    return [point.x, point.y]


def numbers_of(entity):
    kind = entity.dxftype()
    if kind == "LINE":
        return place(entity.dxf.start) + place(entity.dxf.end)
    if kind == "CIRCLE":
        return place(entity.dxf.center) + [entity.dxf.radius]
    if kind == "ARC":
        return place(entity.dxf.center) + [entity.dxf.radius, entity.dxf.start_angle, entity.dxf.end_angle]
    if kind == "ELLIPSE":
        ends = [v for p in entity.vertices((entity.dxf.start_param, entity.dxf.end_param)) for v in place(p)]
        axis = place(entity.dxf.major_axis)
        return place(entity.dxf.center) + axis + [entity.dxf.ratio] + ends + [entity.dxf.end_param - entity.dxf.start_param]
    if kind == "LWPOLYLINE":
        return [int(entity.closed), len(entity)] + [v for point in entity.get_points("xyb") for v in point]
    if kind == "SPLINE":
        curve = entity.construction_tool()
        return [v for t in (0.0, 0.5, 1.0) for v in place(curve.point(t * curve.max_t))]
    return place(entity.dxf.location)


def read(name):
    document = ezdxf.readfile(name)
    auditor = document.audit()
    print("file", name)
    print("version", document.dxfversion)
    print("units", document.header["$INSUNITS"])
    for problem in list(auditor.errors) + list(auditor.fixes):
        print("problem", problem.code, problem.message)
    for layer in document.layers:
        if layer.dxf.name != "Defpoints":  # which ezdxf adds to every file
            on = "on" if layer.is_on() else "off"
            print("layer", layer.dxf.name, layer.color, layer.dxf.linetype, layer.dxf.lineweight, on)
    for name, group in document.groups:
        print("group", name, len(list(group)))
    for entity in document.modelspace():
        numbers = ["%.3f" % float(number) for number in numbers_of(entity)]
        print("entity", entity.dxftype(), entity.dxf.layer, *numbers)


for file_name in sys.argv[1:]:
    read(file_name)
