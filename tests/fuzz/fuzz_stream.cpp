// Streams of settings with any cells, as a document could hold them: what is taken lies in its range, and what comes of
// it goes the way through a stream unchanged.
#include "kivrender/platform/kivtypes.h"
#include "kivrender/settings/kivmemorydatamanager.h"
#include "kivrender/settings/kivsettingstable.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr KivSettingInfo table[] = {
    {"Bands", KivSettingType::Int, 1, 8, 3, L"A number", nullptr},
    {"Softness", KivSettingType::Double, -10, 100, 4, L"A decimal", nullptr},
    {"Highlight", KivSettingType::Bool, 0, 1, 1, L"A switch", nullptr},
    {"Colour", KivSettingType::Colour, 0, 0xFFFFFF, 0x102030, L"A colour", nullptr},
    {"Medium", KivSettingType::Choice, 0, 2, 1, L"A choice", "pencil|ink|charcoal"},
};
constexpr int numSettings = 5;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : at(data), left(size) {}
    bool empty() const {
        return left == 0;
    }
    template <class T> T take() {
        T value{};
        const std::size_t count = left < sizeof value ? left : sizeof value;
        std::memcpy(&value, at, count);
        at += count;
        left -= count;
        return value;
    }

private:
    const std::uint8_t* at;
    std::size_t left;
};

void appendCell(KivMemoryDataManager& stream, Bytes& bytes) {
    switch (bytes.take<std::uint8_t>() % 8) {
    case 0:
        stream.saveInt(bytes.take<std::int32_t>());
        break;
    case 1:
        stream.saveFloat(bytes.take<float>());
        break;
    case 2:
        stream.saveDouble(bytes.take<double>());
        break;
    case 3:
        stream.saveBool((bytes.take<std::uint8_t>() & 1) != 0);
        break;
    case 4:
        stream.saveChar(bytes.take<char>());
        break;
    case 5: {
        std::wstring text;
        for (int i = bytes.take<std::uint8_t>(); i > 0 && !bytes.empty(); --i) {
            text += static_cast<wchar_t>(bytes.take<std::uint8_t>());
        }
        stream.saveString(text.c_str());
        break;
    }
    case 6:
        stream.saveUnsignedShort(bytes.take<std::uint16_t>());
        break;
    default:
        stream.saveUnsignedLong(bytes.take<std::uint32_t>());
    }
}

void requireInRange(const KivTablePageSettings& settings) {
    for (int i = 0; i < numSettings; ++i) {
        const double value = settings.getValue(i);
        require(std::isfinite(value) && value == kivClampSetting(table[i], value));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    KivMemoryDataManager stream;
    stream.setSaving();
    while (!bytes.empty()) {
        appendCell(stream, bytes);
    }
    KivMemoryDataManager document;
    document.setDocument(stream.getCells());
    document.setSaving();
    wchar_t line[kivMaxPath] = {};
    for (std::size_t i = 0; i < stream.getCells().size() && document.loadStringFromFile(line); ++i) {
    }
    stream.setLoading();
    stream.loadString(line); // the name of a section, if it is one
    KivTablePageSettings settings(L"Page", table, numSettings);
    settings.setDataManager(&stream);
    settings.loadSettings();
    requireInRange(settings);
    settings.loadData();
    requireInRange(settings);
    KivMemoryDataManager written;
    written.setSaving();
    settings.setDataManager(&written);
    settings.saveData();
    written.setLoading();
    KivTablePageSettings again(L"Page", table, numSettings);
    again.setDataManager(&written);
    again.loadData();
    require(again.isLoaded());
    for (int i = 0; i < numSettings; ++i) {
        require(again.getValue(i) == settings.getValue(i));
    }
    return 0;
}
