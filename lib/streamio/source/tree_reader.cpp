#include "tree_reader.h"

#include <streamio/token_binarystreambuf.h>
#include <streamio/token_istring.h>
#include <streamio/token_textstreambuf.h>

#include <typeinfo>

namespace io {

namespace {

constexpr double kMostElements = 65535;

bool IsElement(const CToken& token) {
    const TokenType kind = token.GetType();
    return token.IsNumber() || IsQuotedKind(kind) || kind == TokenType::Keyword || IsBooleanKind(kind);
}

// Whether the token can't name an item. Numbers and words of any kind can.
bool IsNoName(const CToken& token, bool quotedMayBeEmpty) {
    switch (token.GetType()) {
    case TokenType::Null:
    case TokenType::Eol:
    case TokenType::Eof:
    case TokenType::Error:
    case TokenType::Symbol:
        return true;
    case TokenType::SingleQuotedText:
    case TokenType::DoubleQuotedText:
    case TokenType::CData:
        return !quotedMayBeEmpty && !token.HasText();
    default:
        return token.IsText() && !token.HasText();
    }
}

CToken_istream* OwnStream(CAbstract_istream& s) {
    const std::type_info& type = typeid(s);
    return type == typeid(CToken_istring) || type == typeid(CToken_istream) ? static_cast<CToken_istream*>(&s)
                                                                            : nullptr;
}

} // namespace

CTreeReader::CTreeReader(CAbstract_istream& s)
    : m_Stream(s), m_Own(OwnStream(s)), m_Buffer(m_Own ? m_Own->GetBuffer() : nullptr),
      m_Binary(s.IsBinary()) {
    constexpr std::size_t kUsualNesting = 8;
    m_Frames.reserve(kUsualNesting);
}

const CToken& CTreeReader::PeekAnew() {
    if (!m_Own)
        return m_Stream.PeekToken();
    if (m_Own->Prepare())
        m_Current = &m_Buffer->PeekToken();
    return m_Buffer->PeekToken();
}

bool CTreeReader::IsSymbol(wchar16 ch) {
    return m_Own ? Peek().IsSymbol(ch) : m_Stream.IsSymbol(ch);
}

bool CTreeReader::IsBlockBegin() {
    if (m_Own && m_Own->GetBeginKeywordKind() == TokenType::Keyword && Peek().GetType() != TokenType::Keyword)
        return false;
    return m_Stream.IsBlockBegin();
}

bool CTreeReader::IsBlockEnd() {
    if (m_Own && m_Own->GetEndKeywordKind() == TokenType::Keyword && Peek().GetType() != TokenType::Keyword)
        return false;
    return m_Stream.IsBlockEnd();
}

CToken CTreeReader::Take() {
    if (m_Own) {
        Peek();
        m_Current = nullptr;
        return m_Buffer->TakeToken();
    }
    CToken token = Peek();
    Step();
    return token;
}

void CTreeReader::Step() {
    m_Current = nullptr;
    if (m_Own)
        m_Buffer->NextToken();
    else
        m_Stream.NextToken();
}

void CTreeReader::ReadBlock(CBlock& block) {
    const std::size_t base = m_Frames.size();
    const bool usual = m_Own && m_Own->SkipsLineEnds() && m_Stream.GetBeginKeyword().starts_with(u'$') &&
                       m_Stream.GetEndKeyword().starts_with(u'$');
    m_RoadBase = usual ? base + 1 : 0;
    if (!usual || !RunRoad(&block)) {
        if (!BeginBlock(block))
            return;
        m_Frames.emplace_back().block = &block;
    }
    Result result = ReadError::Ok;
    Run(base, result);
}

CBlockItemPtr CTreeReader::ReadItem() {
    if (IsNoName(Peek(), true))
        throw XStreamioError(ReadError::Identifier, m_Stream);
    if (IsBlockBegin()) {
        CBlockItemPtr item(new CBlock);
        ReadBlock(static_cast<CBlock&>(*item));
        return item;
    }
    CBlockItemPtr leaf;
    const std::size_t base = m_Frames.size();
    Result result = Dispatch(Take(), leaf, false);
    CBlockItemPtr item = leaf;
    if (result == ReadError::Ok && m_Frames.size() > base) {
        item = m_Frames.back().owner;
        Run(base, result);
    }
    if (result != ReadError::Ok) {
        Unwind(base);
        throw XStreamioError(result, m_Stream);
    }
    return item;
}

CBlockFuncArgPtr CTreeReader::ReadArg() {
    if (IsNoName(Peek(), false))
        throw XStreamioError(ReadError::Identifier, m_Stream);
    CBlockItemPtr leaf;
    const std::size_t base = m_Frames.size();
    Result result = Dispatch(Take(), leaf, true);
    CBlockItemPtr item = leaf;
    if (result == ReadError::Ok && m_Frames.size() > base) {
        item = m_Frames.back().owner;
        Run(base, result);
    }
    if (result != ReadError::Ok) {
        Unwind(base);
        throw XStreamioError(result, m_Stream);
    }
    return CBlockFuncArgPtr(item);
}

void CTreeReader::ReadFunc(CBlock_func& func) {
    if (!IsSymbol(u'('))
        throw XStreamioError(ReadError::OpenBracket, m_Stream);
    Step();
    const std::size_t base = m_Frames.size();
    m_Frames.emplace_back().func = &func;
    Result result = ReadError::Ok;
    Run(base, result);
    if (result != ReadError::Ok) {
        Unwind(base);
        throw XStreamioError(result, m_Stream);
    }
}

void CTreeReader::ReadVec(CBlock_vec& vec) {
    if (!IsSymbol(u'['))
        throw XStreamioError(ReadError::OpenBracket, m_Stream);
    Step();
    const Result result = TakeElements(vec);
    if (result != ReadError::Ok)
        throw XStreamioError(result, m_Stream);
}

void CTreeReader::ReadValue(CBlock_value& value, bool named) {
    if (named) {
        if (!IsSymbol(u'='))
            throw XStreamioError(ReadError::EqualSign, m_Stream);
        Step();
    }
    const Result result = TakeValue(value);
    if (result != ReadError::Ok)
        throw XStreamioError(result, m_Stream);
}

// Runs the frames above `base` to their end. An error that no block among them takes is given back.
void CTreeReader::Run(std::size_t base, Result& result) {
    while (m_Frames.size() > base) {
        result = m_Frames.back().block ? StepBlock() : StepFunc();
        if (result == ReadError::Ok)
            continue;
        // The functions that were being read are lost; the block around them goes on.
        while (m_Frames.size() > base && !m_Frames.back().block)
            m_Frames.pop_back();
        if (m_Frames.size() == base)
            return;
        Recover(*m_Frames.back().block, result, true);
        result = ReadError::Ok;
    }
}

void CTreeReader::Unwind(std::size_t base) {
    m_Frames.resize(base);
}

void CTreeReader::Recover(CBlock& block, ReadError code, bool consumed) {
    block.mErrors.emplace_back(code, m_Stream.GetLineNumber());
    m_Current = nullptr;
    m_Stream.ClearFail();
    // A line that was only looked at for the continuation of a bad item is still to be read.
    if (consumed && m_Own && m_Buffer->IsAtLineStart())
        return;
    m_Stream.SkipLine();
}

bool CTreeReader::BeginBlock(CBlock& block) {
    if (m_Own && m_Own->GetBeginKeywordKind() == TokenType::Keyword && IsBlockBegin()) {
        // As ReadBlockBegin does, without giving the keyword back in between.
        Step();
        if (m_Own->IsText()) {
            m_Own->IncIndent(1);
            block.mName = Take();
            return true;
        }
        m_Own->SetFail();
    } else {
        m_Current = nullptr;
        m_Stream.ReadBlockBegin(block.mName);
    }
    if (!m_Stream.Fail())
        return true;
    block.mErrors.emplace_back(ReadError::BlockSyntax, m_Stream.GetLineNumber());
    m_Current = nullptr;
    m_Stream.ClearFail();
    return false;
}

void CTreeReader::EndBlock(CBlock& block) {
    m_Current = nullptr;
    m_Stream.ReadBlockEnd();
    if (m_Stream.IsEol() || m_Stream.IsEof())
        return;
    // The same token needs no comparison of texts. A number may have come without its source text.
    if (m_Stream.PeekToken() == block.mName) {
        Step();
        return;
    }
    CToken::Scratch scratch;
    const std::u16string_view name = block.mName.GetText(scratch);
    m_Stream.ExpectText(AString(name).c_str());
    if (!m_Stream.Fail())
        return;
    block.mErrors.emplace_back(ReadError::BlockSyntax, m_Stream.GetLineNumber());
    m_Stream.ClearFail();
    m_Stream.SkipLine();
}

// Passes over a block that is nested too deep, up to and with its end.
void CTreeReader::PassNested() {
    std::size_t depth = 0;
    do {
        if (IsEof())
            return;
        if (IsBlockBegin())
            ++depth;
        else if (IsBlockEnd())
            --depth;
        Step();
    } while (depth > 0);
    if (!m_Stream.IsEol() && !IsEof())
        Step();
}

bool CTreeReader::RunRoad(CBlock* outermost) {
    if (m_Binary)
        return RunRoad(static_cast<CToken_binarystreambuf&>(*m_Buffer), outermost);
    return RunRoad(static_cast<CToken_textstreambuf&>(*m_Buffer), outermost);
}

template <class Buffer>
bool CTreeReader::RunRoad(Buffer& buffer, CBlock* outermost) {
    Peek();
    auto road = buffer.OpenRoad({m_Stream.GetBeginKeyword(), m_Stream.GetEndKeyword()});
    if (!road || m_Stream.Fail())
        return false;
    m_Current = nullptr;
    RoadPlace place = road->GetPlace();
    if (outermost) {
        if (road->TakeEdge() != BlockEdge::Begin || !road->TakeElement(outermost->mName)) {
            buffer.CloseRoad(place);
            return false;
        }
        EnterBlock(*outermost);
    }
    do {
        road->PassSpace();
        place = road->GetPlace();
        if (!TakeItem(*road)) {
            buffer.CloseRoad(place);
            return true;
        }
    } while (m_Frames.size() >= m_RoadBase);
    buffer.CloseRoad(road->GetPlace()); // behind the end of the outermost block
    return true;
}

void CTreeReader::EnterBlock(CBlock& block) {
    m_Frames.emplace_back().block = &block;
    m_Own->IncIndent(1);
}

template <class Road>
bool CTreeReader::TakeItem(Road& road) {
    CBlock& block = *m_Frames.back().block;
    CToken name;
    switch (road.TakeEdge()) {
    case BlockEdge::None:
        break;
    case BlockEdge::Begin: {
        if (m_Frames.size() >= kMaxNesting || !road.TakeElement(name))
            return false;
        auto* nested = new CBlock(std::move(name));
        block.Add(CBlockItemPtr(nested));
        EnterBlock(*nested);
        return true;
    }
    case BlockEdge::End:
        // Every name that isn't this one is left to the tokens.
        if (!road.TakeSame(block.mName))
            return false;
        m_RowTokens = block.mPairs.empty() ? m_RowTokens : block.mPairs.size();
        m_Frames.pop_back();
        m_Own->DecIndent();
        return true;
    case BlockEdge::Unusual:
        return false;
    }
    if (!road.TakeElement(name))
        return false;
    bool complete = false;
    switch (road.PeekSymbol()) {
    case u'=': {
        road.PassSymbol();
        auto* value = new CBlock_named_value(std::move(name));
        block.Add(CBlockItemPtr(value));
        complete = road.TakeElement(value->mValue);
        break;
    }
    case u'[': {
        if (!road.TakeVecBegin())
            return false;
        auto* vec = new CBlock_vec(std::move(name));
        block.Add(CBlockItemPtr(vec));
        complete = road.TakeElements(vec->mElements);
        break;
    }
    case u'(': {
        if (m_Frames.size() >= kMaxNesting)
            return false;
        road.PassSymbol();
        if (TakePair(road, block, name))
            return true;
        auto* func = new CBlock_func(std::move(name));
        block.Add(CBlockItemPtr(func));
        complete = TakeArguments(road, *func);
        break;
    }
    default:
        return false;
    }
    if (!complete) { // the tokens read it anew
        block.mItems.pop_back();
        block.mNameIndex.reset();
    }
    return complete;
}

template <class Road>
bool CTreeReader::TakePair(Road& road, CBlock& block, CToken& name) {
    if (!block.TakesPair(name))
        return false;
    const RoadPlace start = road.GetPlace();
    CToken first, second;
    if (!road.TakeElement(first) || !first.IsNumber() || !road.TakeSeparator() || !road.TakeElement(second) ||
        !second.IsNumber() || !road.TakeSymbol(u')')) {
        road.SetPlace(start);
        return false;
    }
    CTokenArray& pairs = block.mPairs;
    if (pairs.empty()) {
        pairs.reserve(std::max<std::size_t>(m_RowTokens, 3));
        pairs.push_back(std::move(name));
    }
    pairs.push_back(std::move(first));
    pairs.push_back(std::move(second));
    return true;
}

// Values and named values; whatever else is an argument is left to the tokens with its function.
template <class Road>
bool CTreeReader::TakeArguments(Road& road, CBlock_func& func) {
    if (road.TakeSymbol(u')'))
        return true;
    do {
        CToken first;
        if (!road.TakeElement(first) || IsNoName(first, false))
            return false;
        switch (road.PeekSymbol()) {
        case u'(':
        case u'[':
            return false;
        case u'=': {
            road.PassSymbol();
            auto* value = new CBlock_named_value(std::move(first));
            func.Items().emplace_back(value);
            if (!road.TakeElement(value->mValue))
                return false;
            break;
        }
        default:
            func.AddValue(std::move(first));
        }
        if (road.TakeSymbol(u')'))
            return true;
    } while (road.TakeSeparator());
    return false;
}

CTreeReader::Result CTreeReader::StepBlock() {
    for (;;) {
        if (m_RoadBase != 0) {
            RunRoad();
            if (m_Frames.size() < m_RoadBase)
                return ReadError::Ok;
        }
        CBlock& block = *m_Frames.back().block;
        if (IsBlockEnd()) {
            EndBlock(block);
            m_Frames.pop_back();
            return ReadError::Ok;
        }
        if (IsEof()) {
            m_Frames.pop_back();
            return ReadError::Ok;
        }
        if (IsNoName(Peek(), true)) {
            Recover(block, ReadError::Identifier, false);
            continue;
        }
        if (IsBlockBegin()) {
            if (m_Frames.size() >= kMaxNesting) {
                block.mErrors.emplace_back(ReadError::Item, m_Stream.GetLineNumber());
                PassNested();
                continue;
            }
            auto* nested = new CBlock;
            block.Add(CBlockItemPtr(nested));
            if (!BeginBlock(*nested)) {
                if (!IsEof()) {
                    m_Current = nullptr;
                    m_Stream.SkipLine();
                }
                continue;
            }
            m_Frames.emplace_back().block = nested;
            return ReadError::Ok;
        }
        CBlockItemPtr leaf;
        const std::size_t depth = m_Frames.size();
        const Result result = Dispatch(Take(), leaf, false);
        if (result != ReadError::Ok)
            return result;
        if (m_Frames.size() > depth)
            return ReadError::Ok; // a function, which is to be read first
        block.Add(std::move(leaf));
    }
}

CTreeReader::Result CTreeReader::StepFunc() {
    const std::size_t index = m_Frames.size() - 1;
    CBlock_func& func = *m_Frames[index].func;
    for (;;) {
        if (m_Frames[index].afterArg) {
            m_Frames[index].afterArg = false;
            if (IsSymbol(u','))
                Step();
            else if (!m_Binary && !IsSymbol(u')') && !IsEof())
                return ReadError::Separator;
        }
        const bool complete = IsSymbol(u')');
        if (complete || IsEof()) {
            if (complete)
                Step();
            break;
        }
        if (IsNoName(Peek(), false))
            return ReadError::Identifier;
        m_Frames[index].afterArg = true;
        CBlockItemPtr leaf;
        const Result result = Dispatch(Take(), leaf, true);
        if (result != ReadError::Ok)
            return result;
        if (m_Frames.size() > index + 1)
            return ReadError::Ok; // a function, which is to be read first
        func.Add(CBlockFuncArgPtr(static_cast<CBlock_func_arg*>(leaf.Get())));
    }
    CBlockItemPtr owner = std::move(m_Frames.back().owner);
    m_Frames.pop_back();
    if (!owner || m_Frames.empty())
        return ReadError::Ok;
    if (CBlock* block = m_Frames.back().block)
        block->Add(std::move(owner));
    else
        m_Frames.back().func->Add(CBlockFuncArgPtr(&func));
    return ReadError::Ok;
}

// What follows a name: a leaf, or a frame for a function.
CTreeReader::Result CTreeReader::Dispatch(CToken name, CBlockItemPtr& leaf, bool asArg) {
    const wchar16 symbol = Peek().GetType() == TokenType::Symbol ? Peek().GetSymbol() : u'\0';
    switch (symbol) {
    case u'=': {
        Step();
        auto* value = new CBlock_named_value(std::move(name), CToken());
        leaf = CBlockItemPtr(value);
        return TakeValue(*value);
    }
    case u'(': {
        if (m_Frames.size() >= kMaxNesting)
            return ReadError::Item;
        Step();
        auto* func = new CBlock_func(std::move(name));
        Frame& frame = m_Frames.emplace_back();
        frame.func = func;
        frame.owner = CBlockItemPtr(func);
        return ReadError::Ok;
    }
    case u'[': {
        Step();
        auto* vec = new CBlock_vec(std::move(name));
        leaf = CBlockItemPtr(vec);
        return TakeElements(*vec);
    }
    default:
        if (!asArg)
            return ReadError::ItemSymbol;
        leaf = CBlockItemPtr(new CBlock_value(std::move(name)));
        return ReadError::Ok;
    }
}

CTreeReader::Result CTreeReader::TakeValue(CBlock_value& value) {
    if (!IsElement(Peek()))
        return ReadError::Value;
    value.SetValue(Take());
    return ReadError::Ok;
}

CTreeReader::Result CTreeReader::TakeElements(CBlock_vec& vec) {
    CTokenArray& elements = vec.mElements;
    const auto separate = [this] {
        if (IsSymbol(u','))
            Step();
        else if (!m_Binary && !IsSymbol(u']') && !IsEof())
            return false;
        return true;
    };
    if (Peek().IsNumber()) {
        CToken first = Take();
        const double count = first.GetDouble();
        if (!(count >= 0 && count <= kMostElements))
            return ReadError::VectorSize;
        if (IsSymbol(u':')) {
            // A count is believed only as far as elements can follow.
            const std::size_t left = m_Buffer ? m_Buffer->GetInputLeft() / 2 + 1 : 1024;
            elements.reserve(elements.size() + std::min(static_cast<std::size_t>(count), left));
            Step();
        } else {
            elements.push_back(std::move(first));
            if (!separate())
                return ReadError::Separator;
        }
    }
    for (;;) {
        const CToken& token = Peek();
        if (token.IsSymbol(u']')) {
            Step();
            return ReadError::Ok;
        }
        if (token.GetType() == TokenType::Eof)
            return ReadError::Ok;
        if (!IsElement(token))
            return ReadError::Value;
        if (token.IsNumber() && m_Own && !m_Buffer->HasPushBack()) {
            m_Current = nullptr;
            m_Buffer->ReadNumbers(elements);
        } else {
            elements.push_back(Take());
        }
        if (!separate())
            return ReadError::Separator;
    }
}

} // namespace io
