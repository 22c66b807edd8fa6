// The two formulas by which matrices and vectors are interpolated over frequency, each element by itself.
//
// Samples belong to the frequencies of the same index, which ascend. False, and the result is of no use, for samples that
// are absent or not of one shape with the result, and for what is said with each.
#pragma once

#include <matrix/cmat.h>

#include <vector>

// The rational function through all samples; `error` gets the last correction of each element. Square matrices. False
// without samples and at a pole of the tableau. At a sample's frequency, to within 1e-06, the sample with no error.
bool RationalInterpolate(double x, ComplexMatrix& result, const std::vector<const ComplexMatrix*>& samples,
                         const RealVector& frequencies, ComplexMatrix& error);

// The parabola through the sample nearest to `x` and its neighbours. False with fewer than three samples.
bool QuadraticInterpolate(double x, ComplexVector& result, const std::vector<const ComplexVector*>& samples,
                          const RealVector& frequencies);
bool QuadraticInterpolate(double x, ComplexMatrix& result, const std::vector<const ComplexMatrix*>& samples,
                          const RealVector& frequencies);
