// Complex numbers, matrices and vectors as items of a stored block.
//
//   $begin matrix
//       m=1
//       n=2
//       $begin r0
//           c(1, 0)
//           c(0, -1)
//       $end r0
//   $end matrix
//
// A matrix has a block for each row and an item "c" for each of its columns; a vector is one row, without "m".
//
// Keys are found by name in any order and without regard to case. The readers give false for what doesn't fit
// and may then leave the target partly filled; nothing is thrown. One thread at a time for a block.
#pragma once

#include <matrix/cmat.h>
#include <streamio/block.h>

// Appends a function item "c" with the two parts as arguments.
void WriteComplexItem(io::CBlock& block, const Complex& value);
// False for anything but a function item with an argument that is a number. A second argument is the imaginary part;
// without one the imaginary part stays as it stood. The function's name isn't looked at.
bool ReadComplexItem(const io::CBlock_item& item, Complex& value);

// Appends a block with the rows "r0", "r1", ...
void WriteMatrixBlock(io::CBlock& block, const ComplexMatrix& matrix, std::u16string_view name = u"matrix");
// `matrix` has its final shape beforehand; "m" (1 if absent) and "n" (0 if absent) must agree with it. Items
// that a row lacks are zero, a missing row is zero, items beyond the last column aren't looked at.
bool ReadMatrixBlock(io::CBlock& block, ComplexMatrix& matrix);

// Appends a block with the one row "r0".
void WriteVectorBlock(io::CBlock& block, const ComplexVector& vector, std::u16string_view name = u"vector");
// `vector` has its final length beforehand; "n" (the number of items if absent) must agree with it.
bool ReadVectorBlock(io::CBlock& block, ComplexVector& vector);
