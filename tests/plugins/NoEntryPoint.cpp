/// A library like any other: nothing in it is of a plug-in.
extern "C" __declspec(dllexport) int somethingElse();
extern "C" __declspec(dllexport) int somethingElse() {
    return 0;
}
