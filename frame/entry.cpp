#include "frame/main.h"

int main()
{
    return corvaned::main();
}
