/// A library that is not a plug-in. One function has a name that is also the mangled name of a type.
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
