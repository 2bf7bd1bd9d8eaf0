// What the process that reads foreign files may still do. It is meant to be taken over by a hostile file: then there is
// nothing left that it could do but compute within its memory and time, and answer.
//
//   limit                        by                                  on kernels without it
//   memory                       RLIMIT_AS, and the importer looks   never missing; where the build itself takes more
//                                                                    addresses than memory (sanitizers), only the
//                                                                    latter
//   time                         RLIMIT_CPU, and the importer looks  never missing
//   no file is written           Landlock, system calls, RLIMIT_FSIZE the remaining ones hold
//   only the model's folder is   Landlock (Linux 5.13)               what is opened through FolderFiles stays in the
//   read                                                             folder, names that lead out by links excepted
//   no process, network, signal  system calls (seccomp)              a child of the reader would end with its limits
//   it ends with its parent      PR_SET_PDEATHSIG                    never missing
//
// The only file here that knows the operating system.
#ifndef IMPORT_READER_PROCESSLIMITS_H
#define IMPORT_READER_PROCESSLIMITS_H

#include <cstdint>
#include <string>
#include <vector>

namespace kivimport {

// False if the parent is gone already. parent: its process number.
bool endWithParent(int parent);

class ProcessLimits {
public:
    // Sets all limits for the rest of the process's life. readable: files, and folders with all in them.
    ProcessLimits(const std::vector<std::string>& readable, std::uint64_t maxMemory, std::uint64_t maxSeconds);

    // Memory beyond what the process has at its start. Lower than the one set at first, and can be raised up to it.
    // Where memory runs out the process ends with the status readerOutOfMemory.
    void setMemory(std::uint64_t bytes) const;

private:
    std::uint64_t ownAddresses; // bytes
    bool canLimitAddresses;
};

} // namespace kivimport

#endif
