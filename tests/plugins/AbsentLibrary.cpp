// Linked against, and then not deployed.
__declspec(dllexport) int functionOfAnAbsentLibrary();
__declspec(dllexport) int functionOfAnAbsentLibrary() {
    return 1;
}
