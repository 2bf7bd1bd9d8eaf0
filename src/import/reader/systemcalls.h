// The system calls that are left to the process that reads foreign files.
#ifndef IMPORT_READER_SYSTEMCALLS_H
#define IMPORT_READER_SYSTEMCALLS_H

namespace kivimport {

// From here on the process can open files for reading, use memory, compute, ask for the time, write to what is open,
// and end; every other call fails with EPERM. Needs PR_SET_NO_NEW_PRIVS. Does nothing on processors that it does not
// know and kernels without filters.
void restrictSystemCalls();

} // namespace kivimport

#endif
