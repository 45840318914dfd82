#include <ZKGenEngine.h>
#include <cstdio>
int main() { std::printf("zkgen %s\n", ZKGENENGINE_VERSION_STRING); return 0; }
