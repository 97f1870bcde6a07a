// Assertions of the Gaussian-mixture core. They stay on in release builds: they guard
// the callers' side of the contract (sizes, positive weights), never file content.
#ifndef LINK_GMM_GMM_ASSERT_H
#define LINK_GMM_GMM_ASSERT_H

#include <cstdio>
#include <cstdlib>

#define GMM_ASSERT(cond)                                                                        \
    do {                                                                                        \
        if (!(cond)) {                                                                          \
            std::fprintf(stderr, "%s:%d: Assertion `%s' failed.\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                                       \
        }                                                                                       \
    } while (0)

#endif
