// A library that stands before the system's own calls for writing files and lets one of them fail, as on a full disk.
// Linked into a test program, or loaded before another program by LD_PRELOAD with SELVARIN_FAIL_AT=n.
#ifndef TESTS_FAULTS_FAILCALLS_H
#define TESTS_FAULTS_FAILCALLS_H

extern "C" {
// The n-th call from now on fails, from 1 on; 0 for none. Counting begins anew.
void failCallsAt(int n);
// How many calls there have been since.
int countedCalls();
}

#endif
