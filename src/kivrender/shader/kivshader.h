// The base of all shader plug-ins, the table of those that are loaded, and the toolbox that they share.
//
// A plug-in is a shared library in the folder "shaders" beside the library. It holds one shader object, of a class that
// derives from KivCombinableShader or KivNonCombinableShader, and exports by plain name
//     KivShaderCreate    makes the object, or returns null; passes its own module (kivModuleOf) to the constructor
//     KivShaderDelete    destroys it; without this export the object is not destroyed, yet the module is unloaded
//     KivShaderSettings  optional: the table of its settings, see settings/kivsettingstable.h
//     KivShaderInterfaceVersion  the interface that it was built for, see shader/kivshaderinterface.h
//
// Shaders belong to the table and are counted: who holds one across a call takes a reference with addRef and gives it
// back with release; the last release destroys the shader and unloads its module. Nothing of a plug-in may be used
// after that, so its pages go first (destroyPages).
//
// None of this is locked: loading, lookups, drawing and pages run on the host's thread, one call at a time. The order
// of the virtual operations and the order of the fields are part of the binary interface.
#ifndef KIVRENDER_SHADER_KIVSHADER_H
#define KIVRENDER_SHADER_KIVSHADER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"

#include <cstdint>
#include <string>
#include <vector>

class Kiv3DObject;
class Kiv3DPoint;
class Kiv3DVector;
class KivBitmapManager;
class KivCamera;
class KivCommonSettings;
class KivDataManager;
class KivLight;
class KivPageDlg;
class KivPropertiesDlg;
class KivScene;
class KivShader;
class KivShaderCommunication;

// What a plug-in exports under the plain names KivShaderCreate and KivShaderDelete.
extern "C" {
using KivShaderCreateFunction = KivShader*();
using KivShaderDeleteFunction = void(KivShader* shader);
}

class KIV_API KivShader {
public:
    // Thrown by value when a render has to stop without an end. The library throws it where no file for a vector page
    // can be made and catches it nowhere: it reaches the host.
    enum stopReason : std::int32_t { stopWithoutReason = 0 };

    // The module that the object comes from; null for a shader that a program makes itself, which is then never
    // destroyed by release.
    explicit KivShader(HINSTANCE module);
    KivShader(const KivShader& other);
    KivShader& operator=(const KivShader& other) = default;
    // Forgets the pages without destroying their windows: destroyPages comes first.
    virtual ~KivShader();

    // Draws into the current OpenGL context. named: the style names this shader for the scene; false: this is the sweep
    // over all shaders for objects with settings of their own. size is that of the render in pixels.
    virtual void render(KivBitmapManager* surface, const KivCommonSettings& settings, const KivCamera& camera,
                        KivScene* scene, tagSIZE size, KivShaderCommunication& communication, bool named) = 0;
    // The stream stands just behind this shader's tag: reads this shader's block for the coming render.
    virtual void loadRenderData(KivDataManager* manager, const KivCommonSettings& settings) = 0;
    // The name that users see; stays valid as long as the shader.
    virtual const wchar_t* getName() const = 0;
    // For the plug-in's own use; the library does not call it.
    virtual void reservedSlot() = 0;
    // The still picture that a dialog shows while the live preview is off; stays the shader's. Null for none.
    virtual HBITMAP getPreviewBitmap() = 0;
    // The stable name that files hold; stays valid as long as the shader.
    virtual const wchar_t* getTag() const = 0;
    // Reads this shader's block of the host's document into the manager, which is in saving mode. False stops the
    // caller.
    virtual bool loadDocData(KivDataManager* manager) = 0;
    // Makes the property pages, each through createPage. Does nothing if the pages for dlg exist. Null for both: the
    // settings without windows.
    virtual void createPages(KivPropertiesDlg* dlg, KivPropertiesDlg* parent) = 0;
    // Destroys the windows of the dialog's pages and forgets the pages.
    virtual void destroyPages(KivPropertiesDlg* dlg);
    // Whether it adds to a picture (true) or paints the surfaces (false).
    virtual bool isCombinable() const = 0;
    // How many progress units this shader will report.
    virtual unsigned int getProgressSteps(KivScene* scene, const KivCommonSettings& settings) = 0;
    // Writes the default settings: what is saved while there are no pages.
    virtual bool saveDefaultData(KivDataManager* manager) = 0;
    // Reads this shader's block and attaches it to the object as its settings.
    virtual void loadObjectSettings(KivDataManager* manager, Kiv3DObject* object) = 0;
    // Puts the settings of the dialog's pages on the preview scene.
    virtual void preparePreview(KivScene* scene, const KivPropertiesDlg* dlg) = 0;
    // The number of pages that createPages makes.
    virtual int getNumPages() = 0;
    // Reads this shader's block into the sequence, whose pointers are between plug-in and host; with selected false
    // only passes over it. False ends the caller.
    virtual bool loadShaderSettings(KivDataManager* manager, std::vector<void*>* settings, bool selected) = 0;

    // The table of loaded shaders. Lookups by a style's text try the tag first and then the name.

    // Loads every plug-in of the folder, null for "shaders" beside the library, in name order, up to 32. A table that
    // is loaded is not scanned again: then the call only counts. Returns the number of shaders. A plug-in that can't be
    // used is left out and told in a message box, with its file and the reason, which kivLastModuleError gives as well:
    // a file that can't be loaded, one that was built for another interface, one that throws, one without a tag or name
    // or with that of a shader that is there, one with a faulty table of settings. Passed over without a word are a
    // library that is not a plug-in and a plug-in that makes no shader.
    static unsigned long loadShaders(const wchar_t* path);
    // Undoes one loadShaders; the last one releases all shaders. True.
    static bool unLoadAll();
    static unsigned long shaders();
    // Null if there is no such shader. Name and tag are compared without regard to case; a shader whose getName or
    // getTag throws matches nothing.
    static KivShader* getByIndex(unsigned long index);
    static KivShader* getByName(const wchar_t* name);
    static KivShader* getByTag(const wchar_t* tag);
    // The one cursor over the table. A walk ends at the first null; what is called meanwhile must not start another.
    static KivShader* getFirstShader();
    static KivShader* getNextShader();
    // Make a shader the current one and return the one before. The index is stored even if it is out of range.
    static KivShader* selectByIndex(unsigned long index);
    static KivShader* selectByTag(const wchar_t* tag);
    static KivShader* current();

    // The new count; 0 for an object that is gone.
    unsigned long addRef();
    // The new count; at 0 the object is destroyed and its module unloaded. All bits set for an object that is gone.
    unsigned long release();

    // Write and read the settings of the dialog's pages in a style file, under the tag as the section. Saving is false
    // if no pages belong to the dialog, loading is true then.
    bool saveDataOnStyle(const wchar_t* file, const KivPropertiesDlg* dlg);
    bool loadDataFromStyle(const wchar_t* file, const KivPropertiesDlg* dlg);
    // Write this shader's block: its pages', or the defaults without pages. True if anything was written.
    bool saveData(KivDataManager* manager, const KivPropertiesDlg* dlg);
    // Reads the block into the pages. False if no pages belong to the dialog.
    bool loadData(KivDataManager* manager, const KivPropertiesDlg* dlg);

    // Shows the growing picture during a render, at most once in 800 ms, else moves the progress bar by one. Releases
    // the OpenGL context meanwhile: not to be called between begin and end of a primitive.
    void flushAndShow(KivBitmapManager* surface, bool vectorial);

    // Page i of the dialog's set, or null.
    KivPageDlg* getPage(const KivPropertiesDlg* dlg, unsigned int index) const;
    HBITMAP getBitmap();
    // The page that the dialog showed last.
    int getCurDialogIndex(const KivPropertiesDlg* dlg) const;
    void setCurDialogIndex(int index, const KivPropertiesDlg* dlg);

protected:
    // Loads one file and makes its shader; null on failure, which is told.
    static KivShader* load(const wchar_t* file);

    // The toolbox of the plug-ins.

    // The strongest light on a point, from 0 to 1. With doubleSided a light behind the surface counts too, weakened by
    // backFactor (0: in full, 1: not at all).
    double calculateLightIncidence(const Kiv3DPoint& point, const Kiv3DVector& normal, const KivScene* scene,
                                   double backFactor) const;
    // The cosine between normal and light, negative from behind; 0 outside a spot's cone and for a light of no known
    // style.
    double calculateLightIncidenceToLight(const Kiv3DPoint& point, const Kiv3DVector& normal,
                                          const KivLight* light) const;
    // The cosine of the angle, not the angle; 0 if either vector is null.
    double calculateAngleBetweenAxis(const Kiv3DVector& a, const Kiv3DVector& b) const;
    // The mean of three vectors, not of unit length.
    void calculateFaceNormal(Kiv3DVector* result, const Kiv3DVector* normals);
    // Moves what stands in the controls of all pages into their settings.
    void loadPreviewSettingsFromPages();
    // Takes a page into the set of its dialog. The page stays the plug-in's.
    void createPage(KivPageDlg* page, KivPropertiesDlg* dlg);

private:
    friend struct KivShaderModule; // reads the module to find further exports of the plug-in

    static std::wstring accept(KivShader* shader, HINSTANCE plugin);
    static std::wstring destroy(KivShader* shader, HINSTANCE plugin);
    bool pagesBelongTo(const KivPropertiesDlg* dlg) const;
    bool secondPagesBelongTo(const KivPropertiesDlg* dlg) const;
    template <class Matches> static unsigned long findShader(Matches matches);

    static KivShader* lShaders[kivMaxShaders];
    static unsigned long dShaders;
    static unsigned long dShaderIterator;
    static unsigned long dRefShadersLoaded;
    static unsigned long dCurShaderIndex;

    HINSTANCE module;
    std::uint32_t refCount = 1;
    int curDialogIndex = 0;
    int secondCurDialogIndex = 0;
    // Two sets, as two dialogs can show the same shader at once. A set belongs to the dialog of its first page.
    std::vector<KivPageDlg*> pages;
    std::vector<KivPageDlg*> secondPages;

protected:
    std::uint32_t pluginData = 0; // for the plug-in; the library only copies it
    bool doubleSided = false;     // read by calculateLightIncidence
};

#endif
