// The last step of every per-channel descriptor: the channels' matrices, one row per
// point, become the table's descriptor store side by side, in channel order.
#ifndef TAVLIN_CORE_FEATURE_DESCRIPTOR_JOINCHANNELDESCRIPTORS_H
#define TAVLIN_CORE_FEATURE_DESCRIPTOR_JOINCHANNELDESCRIPTORS_H

#include <vector>

#include "core/array/Array2dTem.h"
#include "core/feature/PointDescriptorTable.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

// Takes the parts over. One part becomes the store outright; several are joined and
// deleted. No parts (an unknown colour model) give an empty descriptor of the table's
// size rather than no store at all.
void JoinChannelDescriptors(PointDescriptorTable* table, std::vector<Array::Array2dReal64*>& parts);

} // namespace Feature
} // namespace Core
} // namespace Tavlin

#endif
