#include <ZKGenEngine/ZKGenEngine.h>

#include <cstdio>

int main()
{
    TGenDict d;
    d.SetValueForKey(int64_t(7), 3);
    std::printf("ZKGenEngine %s: %lld\n", ZKGENENGINE_VERSION_STRING, static_cast<long long>(d.IntegerForKey(3)));
    return d.IntegerForKey(3) == 7 ? 0 : 1;
}
