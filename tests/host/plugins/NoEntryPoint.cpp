/// A library that was never meant to be a plug-in.
extern "C" __attribute__((visibility("default"))) int answer();

int answer() {
    return 42;
}
