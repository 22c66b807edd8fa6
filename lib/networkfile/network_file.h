// Networks in files: a solution as block text (.sol) or in the binary form (.solb), or a Touchstone file (.sNp, .ts).
//
//   networkfile::File file = networkfile::Read("filter.s2p");
//   file.solution->RenormalizePorts(fifties, true);
//   networkfile::Written written = networkfile::Write(*file.solution, "filter.sol");
//
// Whatever the file, a network comes as a solution. From a Touchstone file that is a modal one with a row for each port,
// S at the file's references as port impedances, and no type: it says nothing of how to interpolate. Data of other kinds
// becomes S; mixed-mode data, of pairs with one reference each, becomes single-ended.
//
// The form of a file is known by its name (".s2p", ".Y4P", ".ts"), and where that says nothing by how its content begins: a
// zero for the binary form; in Touchstone "#", "[" or a number behind the remarks.
//
// Errors are networkfile::Error, whose what() is "name:line: text", without the line where there is none. Frequencies are in
// hertz, impedances in ohms. Any thread, each with its own networks.
#pragma once

#include <sparamlib/network_data_solution.h>
#include <touchstone/touchstone.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace networkfile {

class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class Form { kText, kBinary, kTouchstone };

struct File {
    std::unique_ptr<CNetworkDataSolution> solution; // never null
    Form form = Form::kText;
    touchstone::Kind kind = touchstone::Kind::S; // what a Touchstone file holds, and how it is laid out
    touchstone::Layout layout;
    std::vector<std::string> warnings; // as "name:line: text"
};

// "-" is standard input.
File Read(const std::string& name);
// The same of bytes that came from somewhere else. `name` tells the form and stands in the errors.
File ReadBytes(std::string_view bytes, const std::string& name);

// The form that a name to be written asks for; nothing where its extension is none of those above.
std::optional<Form> FormOfName(std::string_view name);

struct WriteOptions {
    // Of a Touchstone file.
    touchstone::Kind kind = touchstone::Kind::S; // S, Y or Z
    touchstone::Format format = touchstone::Format::RealImaginary;
    std::optional<touchstone::Version> version; // nothing: the oldest one that can say the network
};

struct Written {
    std::string bytes;
    std::vector<std::string> warnings;
};

// The file's bytes in the form that `name` asks for. A Touchstone file holds the solved points, and computes a kind that they
// lack, which stays with the point. Errors: a name without a form, or whose port count is another one; for a
// Touchstone file also no points, a point without the kind (singular matrices have none of the other two), and S whose port
// impedances change with the frequency or stand between ports.
Written Write(CNetworkDataSolution& solution, const std::string& name, const WriteOptions& options = {});

// What the engine takes from a client as a component's data (see IKeldaSolutionInterface): the network as block text whose
// points all hold S. A stored text that is that already comes as it stands. Otherwise data at the engine's 50 ohm, if they
// are three points or more, come as S alone, and so does a network that has no admittances at some frequency, brought to
// 50 ohm: the engine's way there leads through the admittances (see references.h).
std::u16string ReadForEngine(const std::string& name);

} // namespace networkfile
