// Eigen once more, compiled for this processor: in a namespace of its own, so that the two don't share their code.
#define Eigen EigenForThisProcessor
#define BENCH_EIGEN_PEER MakeNativeEigenPeer
#include "matrix_bench_eigen.cpp"
