// Room for the products of a conversion, so that a thread that converts many points sets none aside anew. Nothing in it
// outlives the operation that uses it, and no operation that is given it calls a virtual one meanwhile.
#pragma once

#include <matrix/cmat.h>

struct WorkMatrices {
    ComplexMatrix root;
    ComplexMatrix product;
};

inline WorkMatrices& GetWorkMatrices() {
    thread_local WorkMatrices matrices;
    return matrices;
}
