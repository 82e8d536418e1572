#include <windows.h>

/// Stays for ten minutes.
int main() {
    Sleep(10 * 60 * 1000);
    return 0;
}
