// A file of a CAD program as a document of Open CASCADE: shapes with their names, colours and places.
#ifndef IMPORT_CAD_CADDOCUMENT_H
#define IMPORT_CAD_CADDOCUMENT_H

#include <string>
#include <vector>

#include <Message_ProgressRange.hxx>
#include <TDocStd_Document.hxx>

namespace kivimport {

// What could not be taken as the file gives it, for one line.
struct CadLosses {
    int unread = 0;                       // entities of the file that were left out
    int mended = 0;                       // entities that are not quite right and were used all the same
    int unmeshed = 0;                     // faces without a triangle
    int endless = 0;                      // curves without an end
    int hidden = 0;                       // parts that the file does not show
    std::vector<std::string> unreadFiles; // that an assembly refers to

    // Empty without any.
    std::string line() const;
};

struct CadDocument {
    Handle(TDocStd_Document) document;
    std::string format;
    double metresPerUnit = 0.0; // of the file; the document is in millimetres. 0: the file has no unit
    bool mayBeUnsewn = false;   // faces that meet do not share their edges
};

// Reads a file by its ending: STEP, IGES or BREP. Throws ImportError and Standard_Failure.
CadDocument readCadDocument(const std::string& path, const Message_ProgressRange& progress, CadLosses& losses);

} // namespace kivimport

#endif
