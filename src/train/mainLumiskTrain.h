// The training program seen from outside: options, banner, parsing, reading the
// descriptor files, training a codebook, a Gaussian mixture or the residual statistics
// of a codebook, and writing them where the projection looks for them. Returns the
// process exit status, with the same rules as the extraction program.
#ifndef TAVLIN_SANDBOX_VESK_MAINLUMISKTRAIN_H
#define TAVLIN_SANDBOX_VESK_MAINLUMISKTRAIN_H

namespace Tavlin
{
namespace Sandbox
{
namespace Vesk
{

int mainLumiskTrain(int argc, char** argv);

} // namespace Vesk
} // namespace Sandbox
} // namespace Tavlin

#endif
