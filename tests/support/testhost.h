// A host with its preferences in memory that writes down the messages for the user. It is installed as long as it
// lives, in a home of its own, so that nothing of the machine is read or touched.
#ifndef TESTS_SUPPORT_TESTHOST_H
#define TESTS_SUPPORT_TESTHOST_H

#include "kivrender/host/kivhostapplicationservices.h"
#include "kivrender/platform/kivtext.h"
#include "support/temphome.h"

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

class TestHost : private TempHome, public KivHostApplicationServices {
public:
    TestHost() {
        former = setDefaultHost(this);
    }
    ~TestHost() override {
        setDefaultHost(former);
    }

    int message(const wchar_t* text) override {
        messages.emplace_back(text);
        return 1;
    }
    int morvaneErrorMessage(unsigned long code, const wchar_t* text) override {
        errors.push_back(code);
        errorTexts.emplace_back(text != nullptr ? text : L"");
        return 1;
    }
    void getVirtualMemoryFolder(wchar_t* out) override {
        kivCopyText(out, kivMaxPath, memoryFolder.c_str());
    }
    void getMorvaneFolder(wchar_t* out) override {
        if (morvaneFolder.empty()) {
            KivHostApplicationServices::getMorvaneFolder(out);
        } else {
            kivCopyText(out, kivMaxPath, morvaneFolder.c_str());
        }
    }
    using KivHostApplicationServices::getMorvaneFolder;

    void saveRegistryString(bool machine, const wchar_t* value, const wchar_t* data) override {
        strings[{machine, value}] = data;
    }
    bool loadRegistryString(bool machine, const wchar_t* value, wchar_t* data) override {
        const auto found = strings.find({machine, value});
        if (found == strings.end()) {
            return false;
        }
        kivCopyText(data, kivMaxPath, found->second.c_str());
        return true;
    }
    void saveRegistryDword(bool machine, const wchar_t* value, std::uint32_t data) override {
        numbers[{machine, value}] = data;
    }
    bool loadRegistryDword(bool machine, const wchar_t* value, std::uint32_t* data) override {
        const auto found = numbers.find({machine, value});
        if (found == numbers.end()) {
            return false;
        }
        *data = found->second;
        return true;
    }
    void saveRunRegistryString(bool machine, const wchar_t* value, const wchar_t* data) override {
        runStrings[{machine, value}] = data;
    }
    void hostRegistrySlot19() override {}
    void hostRegistrySlot20() override {}
    void hostRegistrySlot21() override {}
    void getUserDataFolder(wchar_t* out) override {
        kivCopyText(out, kivMaxPath, wide("data").c_str());
    }

    std::vector<std::wstring> messages;
    std::vector<unsigned long> errors; // the codes given to morvaneErrorMessage
    std::vector<std::wstring> errorTexts;
    std::wstring memoryFolder;  // for the surface's file; empty for the system's memory
    std::wstring morvaneFolder; // empty for the library's own
    std::map<std::pair<bool, std::wstring>, std::wstring> strings;
    std::map<std::pair<bool, std::wstring>, std::wstring> runStrings;
    std::map<std::pair<bool, std::wstring>, std::uint32_t> numbers;

private:
    KivHostApplicationServices* former = nullptr;
};

#endif
