// The single door from the library to the program that it runs in and to the desktop: the window to open dialogs on,
// messages, pickers, image files, preferences, style folders and the preview scene.
//
// A host derives from the class (or takes KivDefaultHost), supplies the pure operations and installs its object with
// setDefaultHost before anything else runs; the object outlives every render and stays the host's. All else reaches it
// through getDefaultHost, without a lock: one thread, the host's.
//
// Unless said otherwise a text argument that is filled in holds kivMaxPath characters, longer texts are cut, and a
// failure is an answer and never thrown. The order of the virtual operations is part of the binary interface.
#ifndef KIVRENDER_HOST_KIVHOSTAPPLICATIONSERVICES_H
#define KIVRENDER_HOST_KIVHOSTAPPLICATIONSERVICES_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/platform/kivtypes.h"
#include "kivrender/scene/kivcamera.h"
#include "kivrender/scene/kivscene.h"

#include <cstdint>
#include <vector>

class KivBitmapManager;
class KivImage;
class KivProgress;

class KIV_API KivHostApplicationServices {
public:
    // Where styles are looked for, in this order.
    enum Folder {
        userFolder = 0,  // the user's own styles
        dataFolder = 1,  // the per-user data folder
        sharedFolder = 2 // styles shared by all users of the machine
    };

    // One shader of a settings stream, as KivRenderer::getSettings lists it.
    struct shaderSettings {
        wchar_t name[kivMaxPath] = {};
        std::vector<void*> settings; // what the pointers lead to is between the plug-in and the host
    };

    // Makes the folders for the user's data where they are missing.
    KivHostApplicationServices();
    KivHostApplicationServices(const KivHostApplicationServices&) = delete;
    KivHostApplicationServices& operator=(const KivHostApplicationServices&) = delete;
    virtual ~KivHostApplicationServices();

    // For debugging texts of the host and of shaders; here does nothing.
    virtual void print(const wchar_t* format, ...);
    // The window that dialogs and messages belong to; here null.
    virtual HWND getMainWindow();
    // Lets the user change a colour. 1, or 0 for a cancel with the colour as it was.
    virtual int getColorDialog(HWND owner, std::uint32_t& color);
    // Lets the user choose an image or vector file; name holds size characters. open non-zero picks an existing file,
    // zero a name to save under. 1 if one was chosen, else 0.
    virtual int getBitmapFilename(HWND owner, wchar_t* name, unsigned long size, int open);
    virtual int getVectorialFilename(HWND owner, wchar_t* name, unsigned long size, int open);
    // 1 if a folder was chosen, else 0.
    virtual int getFolder(HWND owner, const wchar_t* title, wchar_t* folder);
    // An error box. Returns what the box returns.
    virtual int message(const wchar_t* text);
    // 1 for yes, 0 otherwise.
    virtual int question(const wchar_t* text);
    // An error box with the operating system's text for an error number and, below it, text, which may be null. Number
    // 0 is not an error: shows nothing and returns 1.
    virtual int morvaneErrorMessage(unsigned long code, const wchar_t* text);
    // Here does nothing.
    virtual void fatalError();
    // Writes the surface's picture in the format that the file's ending names. Failures are shown by message.
    virtual void saveImage(KivBitmapManager& bitmap, const wchar_t* file);
    // Reads an image into *pixels, a new array, row by row from the top, red in the low byte, that the caller releases
    // with delete[]. On failure *pixels is null or as it was: set it to null before. A file that is not found is also
    // looked for beside the library.
    virtual void loadImage(std::uint32_t** pixels, SIZE* size, const wchar_t* file);
    // Records that this build ran, in both scopes.
    virtual void setMostRecentExecuted();

    // Preferences of the module, in the machine's or the user's scope, under a key of the host's choice. A load returns
    // false if there is no such value.
    virtual void saveRegistryString(bool machine, const wchar_t* value, const wchar_t* data) = 0;
    virtual bool loadRegistryString(bool machine, const wchar_t* value, wchar_t* data) = 0;
    virtual void saveRegistryDword(bool machine, const wchar_t* value, std::uint32_t data) = 0;
    virtual bool loadRegistryDword(bool machine, const wchar_t* value, std::uint32_t* data) = 0;
    // Facts about runs of the program, in a place of the host's choice.
    virtual void saveRunRegistryString(bool machine, const wchar_t* value, const wchar_t* data) = 0;
    // For the host's own use; the library does not call these.
    virtual void hostRegistrySlot19() = 0;
    virtual void hostRegistrySlot20() = 0;
    virtual void hostRegistrySlot21() = 0;

    // False if there is no such folder.
    virtual bool getStyleFolder(Folder folder, wchar_t* out);
    virtual void getUserDataFolder(wchar_t* out) = 0;
    // Whether the dialogs show a live preview. False at first.
    virtual bool getShowPreview();
    virtual void setShowPreview(bool show);
    // The folder for the surface's file; empty for the default place.
    virtual void getVirtualMemoryFolder(wchar_t* out);
    virtual void setVirtualMemoryFolder(const wchar_t* folder);
    // The folder of the library, without a closing separator. The narrow one is UTF-8 and holds kivMaxPath bytes.
    virtual void getMorvaneFolder(wchar_t* out);
    virtual void getMorvaneFolder(char* out);
    // Owned by this object, empty until buildPreviewSceneAndCamera has run.
    virtual KivScene* getPreviewScene();
    virtual const KivCamera* getPreviewCamera();
    // The path of the style of that name in the first folder that has it; false if none has.
    virtual bool getStyle(wchar_t* path, const wchar_t* name);
    // Whether the host shows our tool bar. The very first answer is false, later ones true until set otherwise.
    virtual bool getLoadToolbar();
    // Scales an image. The new one belongs to the caller; its width is the wanted one rounded up to a multiple of 4.
    virtual KivImage* stretchImageBilinear(KivImage* source, SIZE size);
    // Scales source into target and destroys source in every case.
    virtual void stretchImageBilinear(HDC dc, HBITMAP target, HBITMAP source, SIZE size);
    // Scales the surface's picture to a new size.
    virtual void stretchImageBilinear(HDC dc, KivBitmapManager* bitmap, SIZE size);

protected:
    // Fills the preview scene and its camera: a sphere and a box under one light. Call it once, before the first
    // preview; a second call adds a second set.
    virtual void buildPreviewSceneAndCamera();

public:
    // Null before a host is installed.
    static KivHostApplicationServices* getDefaultHost();
    // Returns the host installed before.
    static KivHostApplicationServices* setDefaultHost(KivHostApplicationServices* host);

    // The date of this build as yyyy-mm-dd (11 characters with the zero) and, where the pointers are not null, as
    // numbers.
    static void compilationDate(wchar_t* date, int* year, int* month, int* day);
    // From the compiler's form, "Sep  4 2018", to 2018-09-04. A text that is shorter gives the empty one.
    static void reformatDate(const wchar_t* compilerDate, wchar_t* out);

    // Conversions between wide text and UTF-8. The result lies in a buffer of the function's own, 1024 characters or
    // bytes, cut to fit, that the next call of the same function overwrites.
    static const wchar_t* toWChar(const wchar_t* text);
    static const wchar_t* toTChar(const wchar_t* text);
    static const wchar_t* toTChar(const char* text);
    static const char* toChar(const wchar_t* text);

    // The progress object of the current render, or null; not owned.
    KivProgress* progress() const;
    void setCurProgress(KivProgress* progress);

    // Finds an image encoder by MIME type; its number, or -1.
    int getEncoderClsid(const wchar_t* mimeType, GUID* clsid);
    // The same by a file's ending; 0, with clsid untouched, for an ending that is not known.
    int getEncoderClsidFromFileName(const wchar_t* file, GUID* clsid);

protected:
    // The preferences behind the pure operations, for derived classes. The file is the system's, see KivPreferences.
    //
    // A load under a key that does not exist makes the key and stores the present content of data there: data is filled
    // in before the call. It then returns false for a string, data staying if this worked and becoming empty if not,
    // and whether this worked for a number. Under a key that does exist, a value that is missing or of the other type
    // gives false and empties data (0). A stored text of more than 129 characters reads as a failure.
    bool saveStringOnRegistryKey(bool machine, const wchar_t* key, const wchar_t* value, const wchar_t* data);
    bool loadStringOnRegistryKey(bool machine, const wchar_t* key, const wchar_t* value, wchar_t* data);
    bool saveDwordOnRegistryKey(bool machine, const wchar_t* key, const wchar_t* value, std::uint32_t data);
    bool loadDwordOnRegistryKey(bool machine, const wchar_t* key, const wchar_t* value, std::uint32_t* data);

    KivProgress* curProgress = nullptr;
    KivScene previewScene;
    KivCamera previewCamera;
    wchar_t lastFolder[kivMaxPath] = {}; // where the next file picker opens

private:
    // Writes a null-ended list of texts one behind the other, a zero after each and one more at the end.
    static void genFilterString(wchar_t* out, const wchar_t** parts);
    int getFilename(HWND owner, wchar_t* name, unsigned long size, int open, bool vector);
    static void fillMesh(KivMesh* mesh);

    static KivHostApplicationServices* spDefaultHost;
};

#endif
