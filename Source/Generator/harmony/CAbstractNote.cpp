#include "Generator/harmony/CAbstractNote.h"

#include <cctype>
#include <tuple>

namespace {

struct TWhereText {
    TWhere where;
    const char* text;
};
// Two-letter forms first, so that "pc" isn't read as "p".
constexpr TWhereText kWhereTexts[] = {
    {TWhere_PrevHarmCenter, "pc"},        {TWhere_NextHarmCenter, "nc"},
    {TWhere_PrevHarmCenterAsMajor, "pC"}, {TWhere_NextHarmCenterAsMajor, "nC"},
    {TWhere_PrevSignKey, "pk"},           {TWhere_NextSignKey, "nk"},
    {TWhere_PrevChord, "p"},              {TWhere_NextChord, "n"},
    {TWhere_CurrentHarmCenter, "c"},      {TWhere_CurrentHarmCenterAsMajor, "C"},
    {TWhere_CurrentSignKey, "k"},         {TWhere_GetFromAbstractNote, "a"},
};

constexpr const char* kStepsTypeLetters[] = {"d", "c", "s0", "s1", "s2", "s3", "s4", "s5", "s6", "s7", "s8", "s9", "h", "t", "o"};

std::string SignedNumber(long long v)
{
    std::string s = std::to_string(v);
    if (v >= 0)
        s.insert(s.begin(), '+');
    return s;
}

// Reads an optionally signed decimal number at `i`; false if there is none.
bool ReadNumber(const std::string& s, size_t& i, long long& out, bool requireSign)
{
    size_t j = i;
    bool neg = false;
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) {
        neg = s[j] == '-';
        ++j;
    } else if (requireSign) {
        return false;
    }
    if (j >= s.size() || !std::isdigit(static_cast<unsigned char>(s[j])))
        return false;
    long long v = 0;
    while (j < s.size() && std::isdigit(static_cast<unsigned char>(s[j]))) {
        if (v < 1000000000000LL)
            v = v * 10 + (s[j] - '0');
        ++j;
    }
    out = neg ? -v : v;
    i = j;
    return true;
}

} // namespace

std::string TWhereToString(TWhere w)
{
    if (w == TWhere_CurrentChord)
        return "";
    if (w == TWhere_Undef)
        return "TWhere_Undef";
    for (const auto& t : kWhereTexts)
        if (t.where == w)
            return t.text;
    return "unknown TWhere " + std::to_string(static_cast<int>(w));
}

std::string TAbstractDegreeToString(TAbstractDegree d)
{
    switch (d) {
    case TAbstractDegree_Undef: return "Undef";
    case TAbstractDegree_BassNoteLow: return "B";
    case TAbstractDegree_BassNoteCloseToRoot: return "R";
    case TAbstractDegree_BassNoteAboveRoot: return "0";
    case TAbstractDegree_NoteNr: return "M";
    case TAbstractDegree_RefPrev: return "P";
    case TAbstractDegree_RefNext: return "N";
    default: break;
    }
    if (d >= TAbstractDegree_Root && d <= TAbstractDegree__7)
        return std::to_string(1 + (d - TAbstractDegree_Root));
    if (d >= TAbstractDegree_B2 && d <= TAbstractDegree_B7)
        {
        std::string s(1, 'B');
        s += static_cast<char>('2' + (d - TAbstractDegree_B2));
        return s;
    }
    return "unknown TAbstractDegree " + std::to_string(static_cast<int>(d));
}

TAbstractDegree TAbstractDegreeFromString(const std::string& text)
{
    for (int d = TAbstractDegree_BassNoteLow; d <= TAbstractDegree_B7; ++d)
        if (TAbstractDegreeToString(static_cast<TAbstractDegree>(d)) == text)
            return static_cast<TAbstractDegree>(d);
    return TAbstractDegree_Undef;
}

bool IsReferencingDegree(TAbstractDegree d) { return d == TAbstractDegree_RefPrev || d == TAbstractDegree_RefNext; }

TAbstractDegree& operator++(TAbstractDegree& d)
{
    d = static_cast<TAbstractDegree>(static_cast<int>(d) + 1);
    return d;
}

double DegreeToAproxChromaticSteps(TAbstractDegree d)
{
    switch (d) {
    case TAbstractDegree_BassNoteAboveRoot: return 0.1;
    case TAbstractDegree_Root: return 0.0;
    case TAbstractDegree__2: return 1.75;
    case TAbstractDegree__3: return 3.5;
    case TAbstractDegree__4: return 5.0;
    case TAbstractDegree__5: return 7.0;
    case TAbstractDegree__6: return 8.5;
    case TAbstractDegree__7: return 10.5;
    default: return 0.0;
    }
}

std::string TStepsTypeToString(TStepsType t)
{
    const int i = static_cast<int>(t);
    if (i >= 0 && i < static_cast<int>(std::size(kStepsTypeLetters)))
        return kStepsTypeLetters[i];
    return "unknown TStepsType " + std::to_string(i);
}

std::string TStepsDirectionToString(TStepsDirection d)
{
    switch (d) {
    case TStepsDirection_Normal: return "";
    case TStepsDirection_TowardsNextRoot: return "n";
    case TStepsDirection_FromPrevRoot: return "p";
    case TStepsDirection_TowardsAbstractNote: return "a";
    case TStepsDirection_TowardsNoteNext: return "nn";
    case TStepsDirection_TowardsNotePrev: return "np";
    case TStepsDirection_TowardsNoteNr: return "M";
    }
    return "unknown TStepsDirection " + std::to_string(static_cast<int>(d));
}

bool CAbstractOffset::operator<(const CAbstractOffset& o) const
{
    return std::tie(mWhere, mOctaves, mSteps, mStepsType, mStepsDirection, mStepsDirectionTowardsNoteNr)
        < std::tie(o.mWhere, o.mOctaves, o.mSteps, o.mStepsType, o.mStepsDirection, o.mStepsDirectionTowardsNoteNr);
}

std::string CAbstractOffset::ToString() const
{
    std::string s;
    if (mOctaves != kOctavesUndef)
        s += SignedNumber(mOctaves);
    // Zero steps of the plain kind go without saying; any other step part is
    // written out, and so is one without octaves, so that the text reads
    // back as this offset and is never empty.
    const bool plainSteps = mStepsType == TStepsType_Diatonic && mStepsDirection == TStepsDirection_Normal
        && mStepsDirectionTowardsNoteNr == -1;
    if (mSteps != 0 || !plainSteps || mOctaves == kOctavesUndef) {
        s += TStepsTypeToString(mStepsType);
        s += TStepsDirectionToString(mStepsDirection);
        if (mStepsDirectionTowardsNoteNr != -1)
            s += std::to_string(mStepsDirectionTowardsNoteNr);
        s += SignedNumber(mSteps);
    }
    return s;
}

bool CAbstractOffset::SetFromString(const std::string& text)
{
    size_t used = 0;
    return SetFromStringAndUsedStringLength(text, &used);
}

bool CAbstractOffset::SetFromStringAndUsedStringLength(const std::string& text, size_t* used)
{
    CAbstractOffset r;
    size_t i = 0;
    long long n = 0;
    if (ReadNumber(text, i, n, false))
        r.mOctaves = static_cast<int8_t>(n);
    else
        r.mOctaves = kOctavesUndef;

    // Steps type: "s" takes one digit.
    bool haveType = false;
    if (i < text.size()) {
        const char c = text[i];
        if (c == 's' && i + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[i + 1]))) {
            r.mStepsType = static_cast<TStepsType>(TStepsType_AbstractScaleSet0 + (text[i + 1] - '0'));
            i += 2;
            haveType = true;
        } else {
            for (int t = 0; t < static_cast<int>(std::size(kStepsTypeLetters)); ++t) {
                const char* l = kStepsTypeLetters[t];
                if (l[0] != 's' && l[1] == '\0' && c == l[0]) {
                    r.mStepsType = static_cast<TStepsType>(t);
                    ++i;
                    haveType = true;
                    break;
                }
            }
        }
    }
    if (haveType) {
        if (text.compare(i, 2, "nn") == 0) {
            r.mStepsDirection = TStepsDirection_TowardsNoteNext;
            i += 2;
        } else if (text.compare(i, 2, "np") == 0) {
            r.mStepsDirection = TStepsDirection_TowardsNotePrev;
            i += 2;
        } else if (i < text.size() && text[i] == 'n') {
            r.mStepsDirection = TStepsDirection_TowardsNextRoot;
            ++i;
        } else if (i < text.size() && text[i] == 'p') {
            r.mStepsDirection = TStepsDirection_FromPrevRoot;
            ++i;
        } else if (i < text.size() && text[i] == 'a') {
            r.mStepsDirection = TStepsDirection_TowardsAbstractNote;
            ++i;
        } else if (i < text.size() && text[i] == 'M') {
            r.mStepsDirection = TStepsDirection_TowardsNoteNr;
            ++i;
        }
        // An unsigned number after the direction is its note number; the steps
        // always carry a sign.
        if (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) {
            long long nr = 0;
            ReadNumber(text, i, nr, false);
            r.mStepsDirectionTowardsNoteNr = nr;
        }
        long long steps = 0;
        if (!ReadNumber(text, i, steps, true))
            return false;
        r.mSteps = static_cast<int8_t>(steps);
    } else if (r.mOctaves == kOctavesUndef) {
        return false;
    }
    *this = r;
    if (used)
        *used = i;
    return true;
}

std::string CAbstractOffsets::ToString() const
{
    if (empty())
        return "";
    std::string s = kStartCharacter;
    for (size_t i = 0; i < size(); ++i) {
        if (i)
            s += kSeparatorCharacter;
        s += (*this)[i].ToString();
    }
    s += kEndCharacter;
    return s;
}

bool CAbstractOffsets::SetFromString(const std::string& text, size_t* used)
{
    size_t i = 0;
    if (text.compare(0, 1, kStartCharacter) != 0)
        return false;
    ++i;
    CAbstractOffsets r;
    while (i < text.size() && text[i] != kEndCharacter[0]) {
        CAbstractOffset o;
        size_t n = 0;
        if (!o.SetFromStringAndUsedStringLength(text.substr(i), &n) || n == 0)
            return false;
        r.push_back(o);
        i += n;
        if (i < text.size() && text[i] == kSeparatorCharacter[0])
            ++i;
    }
    if (i >= text.size())
        return false;
    ++i;
    *this = r;
    if (used)
        *used = i;
    return true;
}

bool CAbstractOffsets::ContainOnlyZeroSteps() const
{
    for (const auto& o : *this)
        if (o.mSteps != 0)
            return false;
    return true;
}

bool CAbstractOffsets::ContainStepsDirection(TStepsDirection d) const
{
    for (const auto& o : *this)
        if (o.mStepsDirection == d)
            return true;
    return false;
}

bool CAbstractOffsets::ContainStepsDirectionOtherThan(TStepsDirection d) const
{
    for (const auto& o : *this)
        if (o.mStepsDirection != d)
            return true;
    return false;
}

bool CAbstractOffsets::ContainOnlyAbstractScaleSetSmallerThan(TStepsType t) const
{
    for (const auto& o : *this) {
        const bool isSet = o.mStepsType >= TStepsType_AbstractScaleSet0 && o.mStepsType <= TStepsType_AbstractScaleSet9;
        if (!isSet || o.mStepsType >= t)
            return false;
    }
    return true;
}

bool CAbstractNote::operator<(const CAbstractNote& o) const
{
    return std::tie(mWhere, mDegree, mNoteNrForDegreeNoteNr, static_cast<const std::vector<CAbstractOffset>&>(mOffsets))
        < std::tie(o.mWhere, o.mDegree, o.mNoteNrForDegreeNoteNr, static_cast<const std::vector<CAbstractOffset>&>(o.mOffsets));
}

std::string CAbstractNote::ToString() const
{
    std::string s = "{";
    if (mWhere != TWhere_CurrentChord)
        s += TWhereToString(mWhere);
    s += TAbstractDegreeToString(mDegree);
    if (mDegree == TAbstractDegree_NoteNr)
        s += std::to_string(mNoteNrForDegreeNoteNr);
    s += mOffsets.ToString();
    s += "}";
    return s;
}

bool CAbstractNote::SetDegreeAndNoteNrForDegreeNoteNrFromString(const std::string& text)
{
    size_t i = 0;
    TAbstractDegree d = TAbstractDegree_Undef;
    if (text.compare(0, 1, "B") == 0 && text.size() > 1 && text[1] >= '2' && text[1] <= '7') {
        d = static_cast<TAbstractDegree>(TAbstractDegree_B2 + (text[1] - '2'));
        i = 2;
    } else if (!text.empty()) {
        d = TAbstractDegreeFromString(text.substr(0, 1));
        i = 1;
    }
    if (d == TAbstractDegree_Undef)
        return false;
    mDegree = d;
    if (d == TAbstractDegree_NoteNr) {
        long long nr = -1;
        if (ReadNumber(text, i, nr, false))
            mNoteNrForDegreeNoteNr = nr;
    }
    return true;
}

bool CAbstractNote::SetFromString(const std::string& textIn)
{
    size_t i = 0;
    while (i < textIn.size() && (textIn[i] == ' ' || textIn[i] == '\t' || textIn[i] == '{' || textIn[i] == '('))
        ++i;
    if (i >= textIn.size())
        return textIn.empty();
    const std::string text = textIn.substr(i);
    CAbstractNote r;
    size_t p = 0;
    r.mWhere = TWhere_CurrentChord;
    for (const auto& w : kWhereTexts) {
        const size_t n = std::char_traits<char>::length(w.text);
        if (text.compare(0, n, w.text) == 0) {
            r.mWhere = w.where;
            p = n;
            break;
        }
    }
    // Degree: "B2".."B7" or one character, "M" followed by a number.
    size_t degLen = 0;
    if (p < text.size() && text[p] == 'B' && p + 1 < text.size() && text[p + 1] >= '2' && text[p + 1] <= '7')
        degLen = 2;
    else if (p < text.size())
        degLen = 1;
    if (degLen == 0)
        return false;
    const TAbstractDegree d = TAbstractDegreeFromString(text.substr(p, degLen));
    if (d == TAbstractDegree_Undef)
        return false;
    r.mDegree = d;
    p += degLen;
    if (d == TAbstractDegree_NoteNr) {
        long long nr = -1;
        if (ReadNumber(text, p, nr, false))
            r.mNoteNrForDegreeNoteNr = nr;
    }
    if (p < text.size() && text[p] == CAbstractOffsets::kStartCharacter[0]) {
        size_t used = 0;
        if (!r.mOffsets.SetFromString(text.substr(p), &used))
            return false;
        p += used;
    }
    *this = r;
    return true;
}

bool CAbstractNote::HasWhereOtherThan(const std::vector<TWhere>& wheres) const
{
    auto other = [&](TWhere w) {
        for (auto x : wheres)
            if (x == w)
                return false;
        return true;
    };
    if (other(mWhere))
        return true;
    for (const auto& o : mOffsets)
        if (other(o.mWhere))
            return true;
    return false;
}

std::ostream& operator<<(std::ostream& os, const CAbstractNote& n) { return os << n.ToString(); }
