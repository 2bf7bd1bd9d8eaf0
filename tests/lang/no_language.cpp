// A library that can be loaded and is not a language module.
extern "C" __attribute__((visibility("default"))) int unrelated() {
    return 1;
}
