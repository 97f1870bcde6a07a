#include "main/mainLumisk.h"

int main(int argc, char** argv)
{
    return Tavlin::Sandbox::Vesk::mainLumisk(argc, argv);
}
