// A file that another library prints through a stdio stream. Nothing is opened before the first byte. The caller may
// change the beginning on its way and is told of every block, so that it can show progress and end the writing.
#ifndef KIVRENDER_PLATFORM_KIVPRINTFILE_H
#define KIVRENDER_PLATFORM_KIVPRINTFILE_H

#include "kivrender/platform/kivexport.h"

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

class KIV_API KivPrintFile {
public:
    // How the writing went. After a failure the last error is the system's.
    enum class Outcome { written, failed, stopped };

    explicit KivPrintFile(const std::wstring& path);
    // Without close, what was written goes.
    ~KivPrintFile();
    KivPrintFile(const KivPrintFile&) = delete;
    KivPrintFile& operator=(const KivPrintFile&) = delete;

    // Null without memory. The object closes it. Writing to it never fails, as the library would not look; close tells.
    std::FILE* stream() const {
        return file;
    }
    // The changer may rewrite what is printed: whole lines in their order, the first 4096 bytes or more at once in the
    // first call. The watcher is called with what was printed, unchanged, and answers false to end the writing.
    void onPrint(std::function<void(std::string&)> lineChanger, std::function<bool(std::string_view)> blockWatcher);
    // From here on nothing more is written.
    void stop();
    // Ends the stream. A file that is not whole is removed.
    Outcome close();
    // Takes a file away that turned out to be of no use. The last error stays.
    void remove();

private:
    static ssize_t writeCookie(void* object, const char* bytes, std::size_t count);
    bool write(std::string_view bytes);
    bool flush(std::size_t count);
    bool put(std::string_view bytes);

    std::wstring name;
    std::FILE* file = nullptr;
    int descriptor = -1;
    std::string held; // the beginning, or an unfinished line, until it can be changed
    bool isHeadWritten = false;
    bool isStopped = false;
    int error = 0; // errno of the first failure
    std::function<void(std::string&)> changeLines;
    std::function<bool(std::string_view)> watchBlock;
};

#endif
