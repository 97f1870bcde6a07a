#include "train/mainLumiskTrain.h"

int main(int argc, char** argv)
{
    return Tavlin::Sandbox::Vesk::mainLumiskTrain(argc, argv);
}
