// A shader plug-in in one file: it paints every facet in one of a few tones of its material's colour, by how squarely
// the light falls on it. Built as a module and put into the library's shaders folder, every host finds it.
#include <kivrender/dialogs/kivpagedlg.h>
#include <kivrender/platform/kivmodule.h>
#include <kivrender/scene/kivmesh.h>
#include <kivrender/scene/kivscene.h>
#include <kivrender/settings/kivcommonsettings.h>
#include <kivrender/settings/kivdatamanager.h>
#include <kivrender/settings/kivsettingstable.h>
#include <kivrender/shader/kivdrawing.h>
#include <kivrender/shader/kivnoncombinableshader.h>
#include <kivrender/shader/kivshadercommunication.h>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// Each setting is declared once: command line, style files, streams and range checks follow from the table.
const KivSettingInfo settingsTable[] = {
    {"tones", KivSettingType::Int, 2, 16, 4, L"Number of tones between dark and light", nullptr},
    {"dark", KivSettingType::Double, 0, 1, 0.35, L"Brightness of the darkest tone, 0 black, 1 the full colour",
     nullptr},
};
constexpr int numSettings = 2;

const wchar_t shaderTag[] = L"Posterised";

// The page that a properties dialog would show. Without a window it still holds, loads and saves its settings.
class Page : public KivPageDlg {
public:
    Page() : KivPageDlg(0, nullptr), table(shaderTag, settingsTable, numSettings) {
        settings = &table;
    }
    void saveControls() override {}
    void loadControls() override {}

private:
    KivTablePageSettings table;
};

class Posterised : public KivNonCombinableShader {
public:
    explicit Posterised(HINSTANCE module)
        : KivNonCombinableShader(module), current(shaderTag, settingsTable, numSettings) {}
    ~Posterised() override {
        for (Page* page : ownPages) {
            delete page;
        }
    }

    const wchar_t* getName() const override {
        return L"Posterised";
    }
    const wchar_t* getTag() const override {
        return shaderTag;
    }
    HBITMAP getPreviewBitmap() override {
        return nullptr;
    }
    void reservedSlot() override {}
    unsigned int getProgressSteps(KivScene* scene, const KivCommonSettings&) override {
        return scene->numMeshes();
    }

    // Settings: the block of the stream is read once before a render; pages exist while a dialog or a style is open.
    void loadRenderData(KivDataManager* manager, const KivCommonSettings&) override {
        current.setDataManager(manager);
        current.loadData();
    }
    bool saveDefaultData(KivDataManager* manager) override {
        KivTablePageSettings defaults(shaderTag, settingsTable, numSettings);
        defaults.setDataManager(manager);
        defaults.saveData();
        return true;
    }
    void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg*) override {
        if (getPage(dlg, 0) == nullptr) {
            ownPages.push_back(new Page);
            createPage(ownPages.back(), dlg);
        }
    }
    int getNumPages() override {
        return 1;
    }
    bool loadDocData(KivDataManager* manager) override {
        // The block as saveData writes it: the section of the page, then the value of each setting.
        wchar_t section[kivMaxPath] = {};
        return manager->loadStringFromFile(section) && manager->loadIntFromFile(nullptr) &&
               manager->loadDoubleFromFile(nullptr);
    }
    void loadObjectSettings(KivDataManager*, Kiv3DObject*) override {}
    void preparePreview(KivScene*, const KivPropertiesDlg*) override {}
    bool loadShaderSettings(KivDataManager*, std::vector<void*>*, bool) override {
        return true;
    }

    // Drawing. The flag is true for the shader that the style names: it takes every mesh without settings of its own;
    // false is the sweep over all shaders, in which a shader draws the meshes that name it.
    void prepareObjectRendering(const KivCommonSettings&, KivScene*) override {}
    void render(KivBitmapManager*, const KivCommonSettings& settings, const KivCamera&, KivScene* scene, tagSIZE,
                KivShaderCommunication& channel, bool named) override {
        float factor = 0;
        float units = 0;
        channel.getPolygonOffset(&factor, &units); // leaves room for lines that are drawn over the surfaces
        glEnable(GL_POLYGON_OFFSET_FILL);
        glPolygonOffset(factor, units);
        for (unsigned int i = 0; i < scene->numMeshes(); ++i) {
            const KivMesh* mesh = scene->getMesh(i);
            if (mesh->hasObjectSettings() ? !named && mesh->rendersThisShader(shaderTag) : named) {
                drawMesh(*mesh, *scene, settings.doVectorial());
            }
        }
        glDisable(GL_POLYGON_OFFSET_FILL);
    }

    // A render with shadows or transparency walks the meshes itself and asks for them one by one, in three passes. This
    // shader has no light of its own to add, so it paints everything in the first.
    void renderMeshDepth(const KivMesh* mesh, const KivCommonSettings&, KivScene* scene, KivShadows&, const KivCamera&,
                         bool vectorial) override {
        drawMesh(*mesh, *scene, vectorial);
    }
    void reservedSlot(const KivMesh*) override {}
    void renderMeshPass(const KivMesh* mesh, const KivLight*, int, int, const KivCommonSettings&, KivScene* scene,
                        int pass, const KivCamera&, bool vectorial) override {
        if (pass == 1) {
            drawMesh(*mesh, *scene, vectorial);
        }
    }
    void beginTransparency(bool) override {}
    void renderOpaqueMesh(const KivMesh* mesh, const KivCommonSettings&, KivScene* scene, const KivCamera&, int,
                          KivNonCombinableShader*, int pass, bool vectorial) override {
        if (pass == 1) {
            drawMesh(*mesh, *scene, vectorial);
        }
    }
    void renderTransparentTriangle(const Kiv3DPoint* points, const Kiv3DVector* normals, const KivMesh* mesh,
                                   KivScene* scene, const KivCamera&, const KivCommonSettings&, int, int,
                                   KivNonCombinableShader*, KivShadows*, int pass, const KivLight*, int, int,
                                   bool vectorial) override {
        if (pass == 1) {
            KivDrawing::beginDrawing(vectorial, KivDrawing::triangles);
            drawFacet(points, (normals[0] + normals[1] + normals[2]).normal(), *mesh, *scene, vectorial);
            KivDrawing::endDrawing(vectorial);
        }
    }
    void endTransparentTriangle(int, int, int, bool) override {}
    void endTransparency(bool) override {}

private:
    void drawMesh(const KivMesh& mesh, const KivScene& scene, bool vectorial) const {
        KivDrawing::enableLighting(false, vectorial);
        KivDrawing::beginDrawing(vectorial, KivDrawing::triangles);
        for (unsigned int t = 0; t < mesh.getNumTriangles(); ++t) {
            Kiv3DPoint points[3];
            mesh.getTriangle(points, t);
            drawFacet(points, mesh.getTriangleNormal(t).normal(), mesh, scene, vectorial);
        }
        KivDrawing::endDrawing(vectorial);
    }

    void drawFacet(const Kiv3DPoint* points, const Kiv3DVector& normal, const KivMesh& mesh, const KivScene& scene,
                   bool vectorial) const {
        const Kiv3DPoint centre((points[0].x + points[1].x + points[2].x) / 3,
                                (points[0].y + points[1].y + points[2].y) / 3,
                                (points[0].z + points[1].z + points[2].z) / 3);
        const double light = std::clamp(calculateLightIncidence(centre, normal, &scene, 0), 0.0, 1.0);
        const int tones = current.getInt(0);
        const double step = std::min(std::floor(light * tones), tones - 1.0) / (tones - 1.0);
        const double tone = current.getValue(1) + (1 - current.getValue(1)) * step;
        const std::uint32_t colour = mesh.getMaterial()->getDiffuse();
        const auto shade = [&](int shift) { return static_cast<float>((colour >> shift & 0xFF) / 255.0 * tone); };
        KivDrawing::setColor(shade(0), shade(8), shade(16), 1.0F, vectorial);
        KivDrawing::drawTriangle(points, vectorial);
    }

    KivTablePageSettings current;
    std::vector<Page*> ownPages;
};

} // namespace

// What the library looks for in a plug-in, by plain name.
KIV_PLUGIN_EXPORT KivShader* KivShaderCreate() {
    return new Posterised(kivModuleOf(settingsTable));
}
KIV_PLUGIN_EXPORT void KivShaderDelete(KivShader* shader) {
    delete shader;
}
KIV_PLUGIN_EXPORT int KivShaderSettings(const KivSettingInfo** table) {
    *table = settingsTable;
    return numSettings;
}
