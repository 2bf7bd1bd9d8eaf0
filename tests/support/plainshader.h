// Shaders that do nothing, as the ground for those of the tests.
#ifndef TESTS_SUPPORT_PLAINSHADER_H
#define TESTS_SUPPORT_PLAINSHADER_H

#include "kivrender/shader/kivcombinableshader.h"
#include "kivrender/shader/kivnoncombinableshader.h"

#include <string>
#include <utility>

template <class Base> class PlainShader : public Base {
public:
    PlainShader(HINSTANCE plugin, std::wstring shaderTag, std::wstring shaderName)
        : Base(plugin), tag(std::move(shaderTag)), name(std::move(shaderName)) {}

    void render(KivBitmapManager*, const KivCommonSettings&, const KivCamera&, KivScene*, tagSIZE,
                KivShaderCommunication&, bool) override {}
    void loadRenderData(KivDataManager*, const KivCommonSettings&) override {}
    const wchar_t* getName() const override {
        return name.c_str();
    }
    using Base::reservedSlot;
    void reservedSlot() override {}
    HBITMAP getPreviewBitmap() override {
        return nullptr;
    }
    const wchar_t* getTag() const override {
        return tag.c_str();
    }
    bool loadDocData(KivDataManager*) override {
        return true;
    }
    void createPages(KivPropertiesDlg*, KivPropertiesDlg*) override {}
    unsigned int getProgressSteps(KivScene*, const KivCommonSettings&) override {
        return 0;
    }
    bool saveDefaultData(KivDataManager*) override {
        return true;
    }
    void loadObjectSettings(KivDataManager*, Kiv3DObject*) override {}
    void preparePreview(KivScene*, const KivPropertiesDlg*) override {}
    int getNumPages() override {
        return 0;
    }
    bool loadShaderSettings(KivDataManager*, std::vector<void*>*, bool) override {
        return true;
    }

protected:
    std::wstring tag;
    std::wstring name;
};

class PlainCombinable : public PlainShader<KivCombinableShader> {
public:
    using PlainShader::PlainShader;
    bool rendersMesh(const KivMesh*) override {
        return false;
    }
};

class PlainBaseLook : public PlainShader<KivNonCombinableShader> {
public:
    using PlainShader::PlainShader;
    void prepareObjectRendering(const KivCommonSettings&, KivScene*) override {}
    void renderMeshDepth(const KivMesh*, const KivCommonSettings&, KivScene*, KivShadows&, const KivCamera&,
                         bool) override {}
    using PlainShader::reservedSlot;
    void reservedSlot(const KivMesh*) override {}
    void renderMeshPass(const KivMesh*, const KivLight*, int, int, const KivCommonSettings&, KivScene*, int,
                        const KivCamera&, bool) override {}
    void beginTransparency(bool) override {}
    void renderOpaqueMesh(const KivMesh*, const KivCommonSettings&, KivScene*, const KivCamera&, int,
                          KivNonCombinableShader*, int, bool) override {}
    void renderTransparentTriangle(const Kiv3DPoint*, const Kiv3DVector*, const KivMesh*, KivScene*, const KivCamera&,
                                   const KivCommonSettings&, int, int, KivNonCombinableShader*, KivShadows*, int,
                                   const KivLight*, int, int, bool) override {}
    void endTransparentTriangle(int, int, int, bool) override {}
    void endTransparency(bool) override {}
};

#endif
