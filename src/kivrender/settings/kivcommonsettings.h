// The options of a render that belong to no shader: antialiasing, images, colours, which passes run, which files are
// written. The record lives in memory; it persists through the host's KivCommonDataManager, never in a style file.
//
// A host sets what it wants and hands it to KivRenderer by way of a manager; KivMemoryCommonDataManager keeps it in
// memory. What hosts set out of the ranges below is taken as it comes here and cut where a render reads it.
//
// Texts are copied in and out. Setters never fail; a null text counts as empty.
#ifndef KIVRENDER_SETTINGS_KIVCOMMONSETTINGS_H
#define KIVRENDER_SETTINGS_KIVCOMMONSETTINGS_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/settings/kivmorvanesettings.h"

#include <cstdint>
#include <string>

class KivCommonDataManager;

class KIV_API KivCommonSettings : public KivMorvaneSettings {
public:
    KivCommonSettings() = default;
    KivCommonSettings(const KivCommonSettings&) = default;
    KivCommonSettings& operator=(const KivCommonSettings&) = default;
    ~KivCommonSettings() override;

    // Common settings are not part of a style: both do nothing and answer true.
    bool save(const wchar_t* section, const wchar_t* file) override;
    bool load(const wchar_t* section, const wchar_t* file) override;

    // 0, 1 or 2: the picture is drawn 1, 2 or 4 times as large and then reduced.
    int getAntialias() const;
    void setAntialias(int value);
    // Output size in pixels.
    SIZE getResolution() const;
    void setResolution(const SIZE& value);
    // Whether the size is the user's own and not the host's; for the dialog and the host only.
    bool getCustomSize() const;
    void setCustomSize(bool value);
    // Colours have red in the low byte, then green, then blue.
    // The light that is everywhere, in shadows too.
    std::uint32_t getAmbientLight() const;
    void setAmbientLight(std::uint32_t value);
    // The colour behind everything, unless a shader paints there.
    std::uint32_t getBackgroundColor() const;
    void setBackgroundColor(std::uint32_t value);
    // Paths, or empty for none.
    // An image behind the scene, in the middle and at its own size.
    std::wstring getBackgroundImage() const;
    void setBackgroundImage(const wchar_t* value);
    // An image that the finished picture is multiplied with; vector drawings take none.
    std::wstring getPaperImage() const;
    void setPaperImage(const wchar_t* value);
    // Whether a drawing of lines and areas is written in place of a picture.
    bool doVectorial() const;
    void setVectorial(bool value);
    // Whether what lies behind a material that is not opaque shines through it.
    bool doTransparencies() const;
    void setTransparencies(bool value);
    // Whether things throw shadows: one pass for each light more, and volumes of all meshes.
    bool doShadows() const;
    void setShadows(bool value);
    // 0 or 1.
    // 0 orders the areas of a drawing exactly, 1 by their middles, which is faster and wrong for some.
    int getVectorialSpeed() const;
    void setVectorialSpeed(int value);
    // Kept for the host; no stage of a render reads these two.
    int doRenderIsoparams() const;
    void setRenderIsoparams(bool value);
    bool doRenderDim() const;
    void setRenderDim(bool value);
    // Whether an image of how many lights reach each point is written beside the picture, grey, by getSaveShadowsFile.
    // Without shadows there is none.
    bool doSaveShadows() const;
    void setSaveShadows(bool value);
    // Whether an image of the depth is written beside it, in grey, by getSaveDepthFile.
    bool doSaveDepth() const;
    void setSaveDepth(bool value);
    // Whether the host is asked to write the picture, and the file; the ending tells the format.
    bool doSaveRender() const;
    void setSaveRender(bool value);
    std::wstring getSaveRenderFile() const;
    void setSaveRenderFile(const wchar_t* value);
    // The file of a drawing; see getVectorialFormat for its endings.
    std::wstring getSaveVectorFile() const;
    void setSaveVectorFile(const wchar_t* value);
    // Whether a drawing's lines are joined, its faces made of few pieces and its hidden parts left out.
    bool doVectorSimplify() const;
    void setVectorSimplify(bool value);
    // How far surfaces step back behind the lines drawn on them, in units of the depth buffer (glPolygonOffset).
    double getPolygonOffset() const;
    void setPolygonOffset(double value);

    // Moves the whole record to or from the host's store, in the order that a host that streams the values relies on.
    // Saving ends at the first operation that fails, without endSaveCommonData; loading leaves the record as it was if
    // it can't begin. False on failure.
    bool saveDataOnHost(KivCommonDataManager* manager);
    bool loadDataFromHost(KivCommonDataManager* manager);

    // The render file's path with "_shadow" or "_depth" before its last dot. Without a dot anywhere in the path the
    // suffix comes first, then the path.
    std::wstring getSaveShadowsFile() const;
    std::wstring getSaveDepthFile() const;

    // By the ending of the vector file, case ignored: ps 1, eps 2, ai 3, pdf 4, svg 5, anything else 0.
    unsigned int getVectorialFormat() const;

private:
    // A new record: four times smoothed, black behind black, nothing written.
    int antialias = 2;
    SIZE resolution = {};
    bool customSize = false;
    std::uint32_t ambientLight = 0;
    std::uint32_t backgroundColor = 0;
    std::wstring backgroundImage;
    std::wstring paperImage;
    bool vectorial = false;
    bool transparencies = false;
    bool shadows = false;
    int vectorialSpeed = 0;
    bool renderIsoparams = false;
    bool renderDim = false;
    bool saveShadows = false;
    bool saveDepth = false;
    bool saveRender = false;
    std::wstring saveRenderFile;
    std::wstring saveVectorFile;
    bool vectorSimplify = false;
    double polygonOffset = 5.0;
};

#endif
