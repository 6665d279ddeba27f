/// A library that was never meant to be a plug-in. The name of one function is also that of a type, where names are mangled.
extern "C" {
__attribute__((visibility("default"))) int answer();
__attribute__((visibility("default"))) int i();
}

int answer() {
    return 42;
}

int i() {
    return 1;
}
