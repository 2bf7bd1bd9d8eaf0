// What a reader tells while it works.
#ifndef IMPORT_READER_READERREPORT_H
#define IMPORT_READER_READERREPORT_H

#include <cstdint>

namespace kivimport {

class ReaderReport {
public:
    virtual ~ReaderReport() = default;

    // The next step of the work goes from begin to end of the whole.
    void setStep(double begin, double end);
    // fraction: of the step, 0 to 1. Cheap enough to be called every few thousand turns of a loop.
    void done(double fraction);
    // A file of so many bytes is going to be read.
    virtual void opened(std::uint64_t bytes) = 0;

protected:
    // whole: 0 to 1, at least a hundredth more than the last one.
    virtual void tell(double whole) = 0;

private:
    double stepBegin = 0.0;
    double stepEnd = 1.0;
    double told = 0.0;
};

} // namespace kivimport

#endif
