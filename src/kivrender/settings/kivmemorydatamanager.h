// A settings stream for a host without a document of its own. What stands for the document is a run of cells that the
// host gives; the load*FromFile operations read from it in order.
//
//     KivMemoryDataManager stream;
//     stream.setSaving();
//     stream.setDefault();              // the shaders' defaults, as a complete stream
//     renderer.render(&common, &stream, ...);
//
// Cells keep their order and their types; a stream that is handed to a render is read from its first cell on. Copies
// are independent and cost as much as the cells. Not for several threads at once.
#ifndef KIVRENDER_SETTINGS_KIVMEMORYDATAMANAGER_H
#define KIVRENDER_SETTINGS_KIVMEMORYDATAMANAGER_H

#include "kivrender/platform/kivexport.h"
#include "kivrender/settings/kivdatamanager.h"

#include <cstddef>
#include <vector>

class KIV_API KivMemoryDataManager : public KivDataManager {
public:
    // Empty, without a document.
    KivMemoryDataManager() = default;
    KivMemoryDataManager(const KivMemoryDataManager&) = default;
    // The cells of any other stream, without a document.
    explicit KivMemoryDataManager(const KivDataManager& other);
    KivMemoryDataManager& operator=(const KivMemoryDataManager&) = default;
    ~KivMemoryDataManager() override;

    // Gives the cells that the load*FromFile operations read, from the first on. Copied.
    void setDocument(const std::vector<KivProperty>& cells);
    // References stay valid until the document or the stream changes.
    const std::vector<KivProperty>& getDocument() const;
    // The cells of this stream, to keep them as a document.
    const std::vector<KivProperty>& getCells() const;

    // Each takes the next cell of the document if it has the wanted type, stores its value (a null pointer is allowed)
    // and appends it to this stream. False, with nothing consumed, stored or appended, at the end of the document, at a
    // cell of another type, and in loading mode, as the value could not be appended.
    bool loadIntFromFile(int* value) override;
    bool loadDoubleFromFile(double* value) override;
    bool loadFloatFromFile(float* value) override;
    bool loadBoolFromFile(bool* value) override;
    bool loadCharFromFile(char* value) override;
    bool loadStringFromFile(wchar_t* value) override;
    bool loadUnsignedShortFromFile(unsigned short* value) override;
    bool loadUnsignedLongFromFile(std::uint32_t* value) override;

private:
    // The next cell of the document if it is of that type, else null.
    const KivProperty* take(KivProperty::propertyType type);
    template <class T> bool load(T* value, KivProperty::propertyType type);

    std::vector<KivProperty> document;
    // The cell that is read next.
    std::size_t documentPosition = 0;
};

#endif
