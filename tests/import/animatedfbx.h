// An FBX file of a skin with two bones, "root" and "tip", and a clip "stretch" of one second.
//
// The triangle "skin" has the corners (0, 0, 0), (0, 0.5, 0) and (1, 2, 0); its geometry is moved by 5 along z. The
// first two hang on the root, the third on the tip. The root has a rotation of 90 degrees about z before its own, and
// the clip stretches it to the double along its x axis. The tip stands 1 away along that axis and does not inherit the
// scale.
#ifndef TESTS_IMPORT_ANIMATEDFBX_H
#define TESTS_IMPORT_ANIMATEDFBX_H

#include <string>

inline std::string animatedFbx() {
    return R"(; FBX 7.4.0 project file
FBXHeaderExtension:  {
	FBXHeaderVersion: 1003
	FBXVersion: 7400
}
GlobalSettings:  {
	Version: 1000
	Properties70:  {
		P: "UpAxis", "int", "Integer", "",1
		P: "UnitScaleFactor", "double", "Number", "",1
		P: "TimeMode", "enum", "", "",11
	}
}
Objects:  {
	Geometry: 100, "Geometry::skin", "Mesh" {
		Vertices: *9 {
			a: 0,0,0,0,0.5,0,1,2,0
		}
		PolygonVertexIndex: *3 {
			a: 0,1,-3
		}
		GeometryVersion: 124
	}
	Model: 101, "Model::skin", "Mesh" {
		Version: 232
		Properties70:  {
			P: "GeometricTranslation", "Vector3D", "Vector", "",0,0,5
		}
	}
	Model: 110, "Model::root", "LimbNode" {
		Version: 232
		Properties70:  {
			P: "PreRotation", "Vector3D", "Vector", "",0,0,90
			P: "RotationActive", "bool", "", "",1
			P: "InheritType", "enum", "", "",1
		}
	}
	Model: 111, "Model::tip", "LimbNode" {
		Version: 232
		Properties70:  {
			P: "InheritType", "enum", "", "",2
			P: "Lcl Translation", "Lcl Translation", "", "A",1,0,0
		}
	}
	Deformer: 120, "Deformer::", "Skin" {
		Version: 101
		Link_DeformAcuracy: 50
	}
	Deformer: 121, "SubDeformer::", "Cluster" {
		Version: 100
		UserData: "", ""
		Indexes: *2 {
			a: 0,1
		}
		Weights: *2 {
			a: 1,1
		}
		Transform: *16 {
			a: 0,-1,0,0,1,0,0,0,0,0,1,0,0,0,0,1
		}
		TransformLink: *16 {
			a: 0,1,0,0,-1,0,0,0,0,0,1,0,0,0,0,1
		}
	}
	Deformer: 122, "SubDeformer::", "Cluster" {
		Version: 100
		UserData: "", ""
		Indexes: *1 {
			a: 2
		}
		Weights: *1 {
			a: 1
		}
		Transform: *16 {
			a: 0,-1,0,0,1,0,0,0,0,0,1,0,-1,0,0,1
		}
		TransformLink: *16 {
			a: 0,1,0,0,-1,0,0,0,0,0,1,0,0,1,0,1
		}
	}
	Geometry: 140, "Geometry::bump", "Shape" {
		Version: 100
		Indexes: *1 {
			a: 0
		}
		Vertices: *3 {
			a: 9,0,0
		}
		Normals: *3 {
			a: 0,0,0
		}
	}
	Deformer: 141, "Deformer::", "BlendShape" {
		Version: 100
	}
	Deformer: 142, "SubDeformer::bump", "BlendShapeChannel" {
		Version: 100
		DeformPercent: 0
		FullWeights: *1 {
			a: 100
		}
	}
	AnimationStack: 130, "AnimStack::stretch", "" {
		Properties70:  {
			P: "LocalStart", "KTime", "Time", "",0
			P: "LocalStop", "KTime", "Time", "",46186158000
		}
	}
	AnimationLayer: 131, "AnimLayer::base", "" {
	}
	AnimationCurveNode: 132, "AnimCurveNode::S", "" {
		Properties70:  {
			P: "d|X", "Number", "", "A",1
			P: "d|Y", "Number", "", "A",1
			P: "d|Z", "Number", "", "A",1
		}
	}
	AnimationCurve: 133, "AnimCurve::", "" {
		Default: 1
		KeyVer: 4009
		KeyTime: *2 {
			a: 0,46186158000
		}
		KeyValueFloat: *2 {
			a: 1,2
		}
	}
}
Connections:  {
	C: "OO",101,0
	C: "OO",110,0
	C: "OO",111,110
	C: "OO",100,101
	C: "OO",120,100
	C: "OO",121,120
	C: "OO",122,120
	C: "OO",110,121
	C: "OO",111,122
	C: "OO",141,100
	C: "OO",142,141
	C: "OO",140,142
	C: "OO",131,130
	C: "OO",132,131
	C: "OP",132,110, "Lcl Scaling"
	C: "OP",133,132, "d|X"
}
)";
}

#endif
