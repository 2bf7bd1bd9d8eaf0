// What Open CASCADE tells of its progress, for the report.
#ifndef IMPORT_CAD_CADPROGRESS_H
#define IMPORT_CAD_CADPROGRESS_H

#include "import/reader/readerreport.h"

#include <Message_ProgressIndicator.hxx>

namespace kivimport {

class CadProgress : public Message_ProgressIndicator {
public:
    // What it tells is part of the report's present step.
    explicit CadProgress(ReaderReport& readerReport) : report(readerReport) {}

protected:
    // By any thread, but by one at a time.
    void Show(const Message_ProgressScope& /*scope*/, const Standard_Boolean /*isForced*/) override {
        report.done(GetPosition());
    }

private:
    ReaderReport& report;
};

} // namespace kivimport

#endif
