// A settings page that counts how many of its kind are alive.
#ifndef TESTS_SCENE_COUNTEDPAGE_H
#define TESTS_SCENE_COUNTEDPAGE_H

#include "kivrender/settings/kivpagesettings.h"

#include <string>
#include <utility>

class CountedPage : public KivPageSettings {
public:
    explicit CountedPage(std::wstring sectionName = L"Page") : name(std::move(sectionName)) {
        ++alive;
    }
    CountedPage(const CountedPage&) = delete;
    CountedPage& operator=(const CountedPage&) = delete;
    ~CountedPage() override {
        --alive;
    }

    const wchar_t* getSectionName() const override {
        return name.c_str();
    }
    bool save(const wchar_t*, const wchar_t*) override {
        return true;
    }
    bool load(const wchar_t*, const wchar_t*) override {
        return true;
    }
    void reservedSlot() override {}
    void saveSettings() override {}
    bool loadSettings() override {
        return true;
    }

    static inline int alive = 0;

private:
    std::wstring name;
};

#endif
