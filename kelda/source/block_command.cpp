#include "block_command.h"

#include "block_file.h"
#include "deliver.h"
#include "exit_status.h"
#include "name_path.h"
#include "output.h"

#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstring>
#include <unistd.h>

namespace {

constexpr char kBlockFooter[] = R"(
A stored text is UTF-8; a binary text begins with a zero byte. Either is read, "-" from standard input.

Exit status: 0 done, 1 the file has errors or the item isn't there, 2 wrong use.

Examples:
  kelda block check result.sol
  kelda block show result.solb
  kelda block get result.sol SolutionData/DataPoint/Frequency)";

struct BlockOptions {
    std::string file;
    std::string path;
    std::string output = "-";
    std::string form = "text";
    int precision = 0;
    bool scientific = false;
    bool allLevels = false;
    bool json = false;
};

void PutErrors(const BlockFile& file, const std::vector<io::StoredError>& errors, Output& out) {
    for (const io::StoredError& error : errors)
        out.Write(file.Name() + ":" + std::to_string(error.line) + ": " + ToUtf8(error.text) + "\n");
}

int CheckFile(const BlockOptions& options) {
    const BlockFile file(options.file);
    std::vector<io::StoredError> errors;
    {
        std::vector<io::CBlockItemPtr> items;
        file.Read(items, errors);
    }
    Output out(STDOUT_FILENO);
    if (options.json) {
        for (const io::StoredError& error : errors) {
            const nlohmann::json line = {{"file", file.Name()},
                                         {"line", error.line},
                                         {"block", ToUtf8(error.block)},
                                         {"text", ToUtf8(error.text)}};
            out.Write(line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
        }
    } else {
        PutErrors(file, errors, out);
    }
    out.Flush();
    if (out.Error() != 0 && out.Error() != EPIPE)
        return Fail(std::string("can't write to standard output: ") + std::strerror(out.Error()));
    return errors.empty() ? kDone : kWorkFailed;
}

// The items of the file. Errors go to standard error; what could be read is used all the same.
std::vector<io::CBlockItemPtr> ReadItems(const BlockFile& file, int& status) {
    std::vector<io::CBlockItemPtr> items;
    std::vector<io::StoredError> errors;
    file.Read(items, errors);
    Output err(STDERR_FILENO);
    PutErrors(file, errors, err);
    err.Flush();
    status = errors.empty() ? kDone : kWorkFailed;
    return items;
}

int ShowItems(const BlockOptions& options) {
    const BlockFile file(options.file);
    int status = kDone;
    const std::vector<io::CBlockItemPtr> items = ReadItems(file, status);
    if (options.form == "json")
        return Deliver(WriteJson(items), options.output, status);
    BlockFormat format;
    format.binary = options.form == "binary";
    format.scientific = options.scientific;
    if (options.precision > 0)
        format.precision = options.precision;
    if (options.precision > 0 || options.scientific)
        ForgetSpelling(items);
    return Deliver(WriteItems(items, format), options.output, status);
}

int GetItem(const BlockOptions& options) {
    const BlockFile file(options.file);
    int status = kDone;
    io::CBlock root;
    for (const io::CBlockItemPtr& item : ReadItems(file, status))
        root.Add(item);
    io::CBlockItemPtr found;
    io::CBlock* block = &root;
    std::string reached;
    for (const std::string& name : NamesOfPath(options.path)) {
        if (!block)
            return Fail(file.Name() + ": " + reached + " is no block and holds no " + name);
        const auto position = block->Find(FromUtf8(name));
        if (!block->IsGood())
            return Fail(file.Name() + ": there is no " + name + (reached.empty() ? "" : " in " + reached));
        found = position->second;
        block = found->IsBlock() ? static_cast<io::CBlock*>(found.Get()) : nullptr;
        reached += (reached.empty() ? "" : "/") + name;
    }
    return Deliver(WriteItems({found}, BlockFormat()), options.output, status);
}

int WriteIndex(const BlockOptions& options) {
    const BlockFile file(options.file);
    int status = kDone;
    const std::vector<io::CBlockItemPtr> items = ReadItems(file, status);
    if (status != kDone)
        return Fail(file.Name() + ": a text with errors gets no index");
    return Deliver(WriteIndexed(items, options.allLevels), options.output, kDone);
}

int FindBlock(const BlockOptions& options) {
    const BlockFile file(options.file);
    AString path;
    for (const std::string& name : NamesOfPath(options.path)) {
        if (!path.empty())
            path += u'\t';
        path += FromUtf8(name);
    }
    io::CToken_istring s(io::CToken_istring::InPlace{file.Text()}, &io::DefaultTokenGrammar(), io::kUseIndex);
    if (!s.SeekToIndexEntry(path)) {
        // Without an index, or with one of the top level only, the text is scanned.
        s.LoadIndex(io::kAllLevels | io::kFastScan);
        if (!s.SeekToIndexEntry(path))
            return Fail(file.Name() + ": there is no block " + options.path);
    }
    io::CBlock* block = new io::CBlock;
    const io::CBlockItemPtr item(block);
    block->Read(s);
    const int status = block->HasErrors(true) ? kWorkFailed : kDone;
    std::list<AString> errors;
    block->CollectErrors(errors, true);
    Output err(STDERR_FILENO);
    for (const AString& error : errors)
        err.Write(ToUtf8(error) + "\n");
    err.Flush();
    return Deliver(WriteItems({item}, BlockFormat()), options.output, status);
}

using Work = int (*)(const BlockOptions&);

int Guarded(Work work, const BlockOptions& options) {
    try {
        return work(options);
    } catch (const std::exception& error) {
        return Fail(error.what());
    } catch (const io::XStreamioError& error) {
        return Fail(options.file + ": " + ToUtf8(error.GetText()) + ": blocks are nested too deep");
    }
}

} // namespace

void AddBlockCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<BlockOptions>();
    CLI::App* block = app.add_subcommand("block", "Look at stored texts and binary texts");
    block->require_subcommand(1);
    block->footer(kBlockFooter);
    const auto add = [&](const char* name, const char* what, const char* example, Work work) {
        CLI::App* command = block->add_subcommand(name, what);
        command->add_option("FILE", options->file, "The stored text or binary text; - for standard input")
            ->required();
        command->footer(std::string("\nExample:\n  kelda block ") + example);
        command->callback([options, work, &status] { status = Guarded(work, *options); });
        return command;
    };
    const auto addOutput = [&](CLI::App* command) {
        command->add_option("-o,--output", options->output, "Where the result goes; - for standard output")
            ->type_name("OUT");
    };

    CLI::App* check = add("check", "List every error as NAME:LINE: TEXT", "check result.sol", CheckFile);
    check->add_flag("--json", options->json, "One object a line, with file, line, block and text");

    CLI::App* show = add("show", "Write the items in the form that is asked for",
                         "show result.sol --to binary -o result.solb", ShowItems);
    show->add_option("--to", options->form, "text, binary or json")
        ->type_name("FORM")
        ->check(CLI::IsMember({"text", "binary", "json"}));
    show->add_option("--precision", options->precision, "Write every number anew with so many digits")
        ->type_name("N")
        ->check(CLI::Range(1, 17));
    show->add_flag("--scientific", options->scientific, "Write every number anew, with an exponent");
    addOutput(show);

    CLI::App* get = add("get", "Write one item, found by the names on the way to it",
                        "get result.sol SolutionData/DataPoint/Frequency", GetItem);
    get->add_option("PATH", options->path, kNamePathHelp)->required();
    addOutput(get);

    CLI::App* index = add("index", "Write the text with an index of its blocks",
                          "index result.sol --all-levels -o indexed.sol", WriteIndex);
    index->add_flag("--all-levels", options->allLevels, "Index nested blocks too");
    addOutput(index);

    CLI::App* find = add("find", "Write one block, reached through the index",
                         "find indexed.sol SolutionData/DataPoint", FindBlock);
    find->add_option("PATH", options->path, kNamePathHelp)->required();
    addOutput(find);
}
