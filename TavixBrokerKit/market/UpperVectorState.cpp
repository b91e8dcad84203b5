#include "market/UpperVectorState.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>
#endif

namespace tavix {

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
namespace {
__attribute__((target("avx"))) void clearWithAvx() {
    _mm256_zeroupper();
}
}  // namespace

void clearUpperVectorState() {
    static const bool hasAvx = (__builtin_cpu_init(), __builtin_cpu_supports("avx"));
    if (hasAvx) clearWithAvx();
}
#else
void clearUpperVectorState() {}
#endif

}  // namespace tavix
