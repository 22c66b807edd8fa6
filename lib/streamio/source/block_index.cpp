#include <streamio/block_index.h>
#include <streamio/token_istream.h>
#include <streamio/token_ostream.h>

#include <utility/assertion.h>

namespace io {

namespace {

constexpr std::u16string_view kIndexName = u"$index$";
constexpr std::u16string_view kBaseName = u"$base_index$";
constexpr std::int64_t kMostOffset = 2147483647; // of the stored kind

// Whether the path is one of the index's own blocks or lies below one.
bool IsOwnPath(std::u16string_view path) {
    for (const std::u16string_view own : {kIndexName, kBaseName}) {
        if (path.substr(0, own.size()) == own && (path.size() == own.size() || path[own.size()] == u'\t'))
            return true;
    }
    return false;
}

} // namespace

CBlock_index::CBlock_index(const AString& name) : mIndexBlock(new CBlock(name)) {}

void CBlock_index::Read(CAbstract_istream& s) {
    TARVOK_ASSERT_TEXT(mIndexBlock, "mIndexBlock != 0");
    if (!mIndexBlock)
        return;
    CBlock block(mIndexBlock->GetNameToken());
    block.Read(s);
    mIndexBlock->Clear();
    mPathLength = 0;
    if (block.HasErrors(true)) {
        s.SetFail(); // a damaged index isn't used
        return;
    }
    CBlock properties(AString(std::u16string_view(u"properties")));
    if (block.GetBlock(properties).IsGood()) {
        CBlock_named_value allLevels{AString(std::u16string_view(u"all_levels"))};
        int number = 0;
        if (properties.GetNamedValue(allLevels).IsGood() && allLevels.GetInt(number))
            mAllLevels = number != 0;
        CBlock_named_value version{AString(std::u16string_view(u"version"))};
        if (properties.GetNamedValue(version).IsGood())
            version.GetInt(mVersion);
        CBlock_time_func time{AString(std::u16string_view(u"time"))};
        if (properties.GetFunc(time).IsGood())
            mTime = time.GetTime();
    }
    for (const CBlockItemPtr& item : block)
        mIndexBlock->Add(item);
}

void CBlock_index::Write(CAbstract_ostream& s) const {
    if (!mIndexBlock)
        return;
    CBlock block(mIndexBlock->GetNameToken());
    AString name;
    if (mIndexBlock->GetName(name) == kBaseName) {
        CBlock properties(AString(std::u16string_view(u"properties")));
        properties.AddNamedValue(
            {AString(std::u16string_view(u"all_levels")), CToken(TokenType::Int, mAllLevels ? 1 : 0)});
        properties.AddFunc(CBlock_time_func(AString(std::u16string_view(u"time")), std::time(nullptr)));
        properties.AddNamedValue({AString(std::u16string_view(u"version")),
                                  CToken(TokenType::Int, static_cast<double>(mVersion))});
        block.AddBlock(properties);
    }
    for (const CBlockItemPtr& item : *mIndexBlock)
        block.Add(item);
    block.Write(s);
}

bool CBlock_index::AddEntry(const AString& path, const CAbstract_stream_pos& pos) {
    if (!pos.mState || !pos.mState->IsReady())
        return false;
    if (pos.mState->indentLevel != 0 && !mAllLevels)
        return true;
    if (!mIndexBlock || pos.mPos > kMostOffset)
        return false;
    // Paths repeat the names around a block: an index may not outgrow its text without bound.
    constexpr std::size_t kMostPerUnit = 16;
    constexpr std::size_t kFree = 65536;
    if (mPathLength + path.size() >
        kMostPerUnit * (static_cast<std::size_t>(std::max<std::int64_t>(pos.mPos, 0)) + kFree))
        return false;
    mPathLength += path.size();
    const auto former = mIndexBlock->Find(path);
    if (mIndexBlock->IsGood())
        mIndexBlock->Erase(former);
    CBlock_func entry(path);
    pos.WriteTo(entry);
    mIndexBlock->AddFunc(entry);
    return true;
}

bool CBlock_index::GetPosition(const AString& path, CAbstract_stream_pos& pos) const {
    if (IsEmpty())
        return false;
    CBlock_func entry(path);
    return mIndexBlock->GetFunc(entry).IsGood() && pos.ReadFrom(entry);
}

bool CBlock_index::SeekToEntry(const AString& path, CAbstract_istream& s) const {
    CAbstract_stream_pos pos;
    s.MakeState(pos);
    return GetPosition(path, pos) && s.SetPosition(pos);
}

bool CBlock_index::SeekToEntry(const AString& path, CAbstract_ostream& s) const {
    CAbstract_stream_pos pos;
    s.MakeState(pos);
    return GetPosition(path, pos) && s.SetPosition(pos);
}

bool CBlock_index::IsEmpty() const {
    return !mIndexBlock || mIndexBlock->IsEmpty();
}

void CBlock_index::TakeProperties(const CBlock_index& other) {
    mAllLevels = other.mAllLevels;
    mTime = other.mTime;
    mVersion = other.mVersion;
}

bool CToken_istream::OpenIndex() {
    m_Index.reset();
    CAbstract_stream_pos here;
    GetPosition(here);
    CAbstract_stream_pos start;
    MakeState(start);
    if (SetPosition(start) && IsBlockBegin(AString(kBaseName))) {
        CBlock_index base{AString(kBaseName)};
        base.Read(*this);
        if (!Fail() && base.SeekToEntry(AString(kIndexName), *this) && IsBlockBegin(AString(kIndexName))) {
            auto index = std::make_unique<CBlock_index>(AString(kIndexName));
            index->TakeProperties(base);
            index->Read(*this);
            if (!Fail())
                m_Index = std::move(index);
        }
    }
    ClearFail();
    SetPosition(here);
    return m_Index != nullptr;
}

bool CToken_istream::CheckIndex(bool nested) {
    CAbstract_stream_pos here;
    GetPosition(here);
    bool good = true;
    for (const CBlockItemPtr& item : *m_Index->GetEntries()) {
        AString path;
        if (!item->IsFunc() || IsOwnPath(item->GetName(path)))
            continue;
        const std::size_t tab = path.rfind(u'\t');
        const AString name(tab == path.npos ? path : AString(path.substr(tab + 1)));
        CBlock block;
        good = m_Index->SeekToEntry(path, *this) && IsBlockBegin(name);
        if (good) {
            block.Read(*this);
            good = !Fail() && !block.HasErrors(nested);
        }
        if (!good)
            break;
    }
    ClearFail();
    SetPosition(here);
    return good;
}

bool CToken_istream::LoadIndex(std::uint32_t flags) {
    m_Index = std::make_unique<CBlock_index>(AString(kIndexName));
    m_Index->SetAllLevels((flags & kAllLevels) != 0);
    CAbstract_stream_pos here;
    GetPosition(here);
    bool good = true;
    CAbstract_stream_pos begin;
    GetTokenPosition(begin);
    while (!Fail() && IsBlockBegin()) {
        good = ScanBlock(begin, flags) && good;
        GetTokenPosition(begin);
    }
    SetPosition(here);
    return good;
}

// One block with those in it, the stream standing at its begin keyword.
bool CToken_istream::ScanBlock(CAbstract_stream_pos begin, std::uint32_t flags) {
    struct Level {
        CToken name;
        std::size_t pathLength; // of the blocks around this one
    };
    std::vector<Level> levels;
    AString path;
    bool good = true;
    const auto check = [&] {
        if (!Fail())
            return;
        ClearFail();
        SkipLine();
        good = false;
    };
    const auto open = [&] {
        CToken name;
        ReadBlockBegin(name);
        if (Fail())
            return check();
        levels.push_back({name, path.size()});
        CToken::Scratch scratch;
        if (const std::u16string_view text = name.GetText(scratch); !text.empty()) {
            if (!path.empty())
                path += u'\t';
            path += text;
            good = m_Index->AddEntry(path, begin) && good;
        }
    };
    open();
    while (!levels.empty()) {
        GetTokenPosition(begin);
        if (IsBlockEnd()) {
            CToken::Scratch scratch;
            const AString name(levels.back().name.GetText(scratch));
            path.resize(levels.back().pathLength);
            levels.pop_back();
            ReadBlockEnd();
            if (!IsEol() && !IsEof())
                ExpectText(name.c_str());
            check();
        } else if (IsEof()) {
            return false;
        } else if (IsBlockBegin()) {
            if (levels.size() >= kMaxNesting)
                return false;
            open();
        } else if ((flags & kFastScan) != 0) {
            SkipLine();
            check();
        } else {
            try {
                CBlockItemPtr item;
                item.Read(*this);
            } catch (const XStreamioError&) {
                SetFail();
            }
            check();
        }
    }
    return good;
}

} // namespace io
