// The file commands of the language: values (write, read), numeric text
// (writematrix, readmatrix, readvector), whole texts (readstring,
// writestring) and the listing of the working directory (listf).
#pragma once

#include <span>

#include "lang/value.hpp"
#include "objects/matrix.hpp"

namespace ostr::script {

// Writes the real numbers of a matrix to the file `name` (a string value)
// as comma-separated rows, each number in full precision; answers the
// number of bytes written or the error word of the failure.
lang::Value write_matrix_file(const lang::Value& name, const obj::MatrixValue& m);

// Registers the commands.
void install_files();

}  // namespace ostr::script
