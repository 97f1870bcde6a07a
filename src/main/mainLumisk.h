// The whole program seen from outside: options, banner, parsing, the feature, the
// codebook and the loop over input images. Returns the process exit status.
#ifndef TAVLIN_SANDBOX_VESK_MAINLUMISK_H
#define TAVLIN_SANDBOX_VESK_MAINLUMISK_H

namespace Tavlin
{
namespace Sandbox
{
namespace Vesk
{

int mainLumisk(int argc, char** argv);

} // namespace Vesk
} // namespace Sandbox
} // namespace Tavlin

#endif
