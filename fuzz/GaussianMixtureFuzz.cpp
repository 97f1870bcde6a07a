// The Gaussian-mixture model file from arbitrary bytes, in both element widths: the
// first byte picks float or double, the rest is the file. A model that loads is
// evaluated at a few points, as the Fisher encoder does with it.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "FuzzIO.h"
#include "FuzzSupport.h"
#include "Link/GMM/fisher.h"
#include "Link/GMM/gmm.h"

namespace
{

template <class T>
void LoadAndUse(const std::string& path)
{
    gaussian_mixture<T> model(path.c_str());
    const int ndim = model.n_dim();
    if (model.n_gauss() <= 0 || ndim <= 0)
        return;
    std::vector<std::vector<T>> rows{std::vector<T>(ndim, T(0)), std::vector<T>(ndim, T(1e3))};
    std::vector<T> posterior(model.n_gauss());
    for (std::vector<T>& row : rows)
    {
        model.log_p(row.data(), posterior.data());
        model.posterior(row.data(), posterior.data());
    }
    std::vector<T*> samples{rows[0].data(), rows[1].data()};
    fisher_param param;
    param.grad_weights = true;
    fisher<T> encoder(param);
    encoder.set_model(model);
    std::vector<T> out(encoder.dim());
    encoder.compute(samples, out.data());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const std::string path = FuzzSupport::TempPath("model.gmm");
    if (!FuzzSupport::WriteFile(path, data + 1, size - 1))
        return 0;
    if (data[0] & 1)
        LoadAndUse<double>(path);
    else
        LoadAndUse<float>(path);
    unlink(path.c_str());
    return 0;
}
