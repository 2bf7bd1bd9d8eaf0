// A module that exports one function.
extern "C" __attribute__((visibility("default"))) int sampleAnswer() {
    return 42;
}
