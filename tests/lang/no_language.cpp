// A library that can be loaded and is no language module.
extern "C" __attribute__((visibility("default"))) int unrelated() {
    return 1;
}
