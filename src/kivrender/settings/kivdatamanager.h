// The stream through which all settings of a style travel: from a property page into the host's document and back, and
// from a document or an object into a render. It is a growing run of typed cells with one read cursor and a mode. There
// are no keys: sections and shaders are text cells in the same run, and a reader finds its data by reading in the order
// in which the writer wrote.
//
// A complete stream is, all markers being text cells:
//   "Style:" + name, "NonCombinableShader:" + tag, "CombinableShader:" + each tag and a ";" behind it,
//   for each shader its tag, then for each of its pages the page's section name and its values,
//   "End Morvane".
//
// A host derives from the class and supplies the load*FromFile operations over its own document; KivMemoryDataManager
// is one that needs no document. A new manager is in loading mode and refuses writes until setSaving is called.
//
// Every value written is followed by one saveCurrentVaried call: the caller's duty, which startSection and startShader
// do for their own markers.
//
// No operation reports more than its result: reading past the end gives zero or the empty text. A manager belongs to
// one thread. The order of the virtual operations is part of the binary interface.
//
// A stream is written from its start to its end and read in the same order; cells are told apart by their place alone.
// KivMemoryDataManager is one for hosts without a document, KivAverageDataManager one that stands for several objects.
#ifndef KIVRENDER_SETTINGS_KIVDATAMANAGER_H
#define KIVRENDER_SETTINGS_KIVDATAMANAGER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/settings/kivproperty.h"
#include "kivrender/settings/kivversionmanager.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

class KIV_API KivDataManager : public KivVersionManager {
public:
    KivDataManager() = default;
    // As fromOtherDataManager: the copy is in loading mode and stands at the beginning.
    KivDataManager(const KivDataManager& other);
    // Copies every field, the mode and the cursor included.
    KivDataManager& operator=(const KivDataManager& other) = default;
    ~KivDataManager() override;

    // Removes the cells and rewinds; mode, mark, section and shader stay.
    virtual void clearData();
    // Becomes a copy of the other's cells and version, in loading mode and rewound.
    virtual void fromOtherDataManager(const KivDataManager& other);

    // Each reads the next value of the host's document into its argument and also appends it to this stream with the
    // matching save operation. False when there is no such value: the reading stops there. A text goes into a buffer of
    // kivMaxPath characters.
    virtual bool loadIntFromFile(int* value) = 0;
    virtual bool loadDoubleFromFile(double* value) = 0;
    virtual bool loadFloatFromFile(float* value) = 0;
    virtual bool loadBoolFromFile(bool* value) = 0;
    virtual bool loadCharFromFile(char* value) = 0;
    virtual bool loadStringFromFile(wchar_t* value) = 0;
    virtual bool loadUnsignedShortFromFile(unsigned short* value) = 0;
    virtual bool loadUnsignedLongFromFile(std::uint32_t* value) = 0;

    // Says of the cell written last whether several objects disagree on it. Here there is but one object: the first
    // does nothing, the others answer false.
    virtual void saveCurrentVaried(bool varied);
    virtual bool isCurrentVaried() const;
    virtual bool isVaried(int index) const;

    // Each appends a cell; false and nothing done in loading mode. A null text counts as empty.
    bool saveInt(int value);
    bool saveDouble(double value);
    bool saveFloat(float value);
    bool saveBool(bool value);
    bool saveChar(char value);
    bool saveString(const wchar_t* value);
    bool saveUnsignedShort(unsigned short value);
    bool saveUnsignedLong(std::uint32_t value);

    // Each reads the cell at the cursor and moves past it, whatever its tag. Zero in saving mode and at the end.
    int loadInt();
    double loadDouble();
    float loadFloat();
    bool loadBool();
    char loadChar();
    unsigned short loadUnsignedShort();
    std::uint32_t loadUnsignedLong();
    // out holds kivMaxPath characters; a longer text is cut. The one reader that looks at the tag: at a cell that is no
    // text, at the end and in saving mode out becomes empty and the cursor stays.
    void loadString(wchar_t* out);

    // Saving: writes the marker. Loading: whether the cell at the cursor is this marker; a text cell is consumed either
    // way.
    bool startSection(const wchar_t* name);
    bool endSection();
    // Saving: writes the marker. Loading: looks for the first text cell equal to name, from the beginning, and moves
    // past it. False if there is none, if it is the very last cell, or if the cursor already stands at the end.
    bool startShader(const wchar_t* name);
    bool endShader();

    // Rewinds and starts reading; false and nothing done when there are no cells.
    bool setLoading();
    // Starts appending behind the cells that are there. True.
    bool setSaving();

    int getNumProperties() const;
    // The tag of the cell that the next load operation reads; Void when there is nothing to read.
    KivProperty::propertyType getNextType() const;

    // The mark that the document needs writing: set by the dialogs, read and reset by the host.
    bool isChanged() const;
    void setChanged(bool value);

    // Writes a text file for debugging; silent when it can't be opened. Nothing reads it back.
    void report(const wchar_t* path) const;

    // Appends a complete stream: the Cartoon shader as the base, no combinable shader, every loaded shader's defaults.
    void setDefault();

protected:
    virtual void reportVaried(std::FILE* file, int index) const;
    virtual void reportVariedHeader(std::FILE* file) const;

    bool searchShader(const wchar_t* name);

    std::wstring section;
    std::wstring shader;
    bool loading = true;
    std::vector<KivProperty> properties;
    int position = 0;
    bool changed = false;

private:
    friend class KivAverageDataManager; // merges the cells of several managers
    friend class KivStreamMark;         // takes cells back

    template <class T> bool append(const T& value);
    template <class T> T next();
};

#endif
