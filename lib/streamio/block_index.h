// The index of a stored text: where each of its blocks begins, so that a reader reaches one by a seek.
//
// The index itself is a block at the end of the text; a block of fixed length at its start says where. A
// writer starts one with kUseIndex or StartIndex and finishes it with Close; a reader loads it with
// kUseIndex, or makes one by LoadIndex, and goes to a block by SeekToIndexEntry. Nothing throws: what doesn't
// fit is false, and the text can be scanned instead.
#pragma once

#include <streamio/block.h>

#include <algorithm>
#include <ctime>

namespace io {

class CAbstract_stream_pos;

class CBlock_index : public CStreamio_object {
public:
    CBlock_index() = default;
    explicit CBlock_index(const AString& name);

    void Read(CAbstract_istream& s) override;
    void Write(CAbstract_ostream& s) const override;

    // `path` is the names of the enclosing blocks and of the block, joined by TABs. A later entry of a path
    // replaces the former. True without an entry for a nested block unless all levels are indexed.
    bool AddEntry(const AString& path, const CAbstract_stream_pos& pos);
    bool SeekToEntry(const AString& path, CAbstract_istream& s) const;
    bool SeekToEntry(const AString& path, CAbstract_ostream& s) const;
    // False, and `pos` unchanged, without a well-formed entry. The caller has made the state of `pos`.
    bool GetPosition(const AString& path, CAbstract_stream_pos& pos) const;
    bool IsEmpty() const;
    bool SetAllLevels(const bool& on) { return std::exchange(mAllLevels, on); }
    bool GetAllLevels() const { return mAllLevels; }
    void TakeProperties(const CBlock_index& other);

    const CBlock* GetEntries() const { return mIndexBlock.Get(); }

private:
    CBlock_ptr<CBlock> mIndexBlock;
    bool mAllLevels = false;
    std::time_t mTime = std::time(nullptr);
    int mVersion = 0;
    std::size_t mPathLength = 0; // of all entries
};

} // namespace io
