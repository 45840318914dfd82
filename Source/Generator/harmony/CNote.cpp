#include "Generator/harmony/CNote.h"

namespace {

// Key numbers of the letters C D E F G A B.
constexpr int kLetterKeys[7] = {0, 2, 4, 5, 7, 9, 11};
constexpr char kLetters[7] = {'C', 'D', 'E', 'F', 'G', 'A', 'B'};

bool IsWhiteKey(int key)
{
    for (int k : kLetterKeys)
        if (k == key)
            return true;
    return false;
}

int LetterIndexForWhiteKey(int key)
{
    for (int i = 0; i < 7; ++i)
        if (kLetterKeys[i] == key)
            return i;
    return -1;
}

} // namespace

TEnh MakeSensefulEnhForKeyNr(int key, TEnh enh, TMakeSensefulEnh policy)
{
    if (!KeyNrIsDef(key))
        return TEnh_Undef;
    // Cb, Fb, B# and E# are white keys a key signature may need; kept as given.
    const bool spelledAcross = (enh == TEnh_Flat && (key == 11 || key == 4)) || (enh == TEnh_Sharp && (key == 0 || key == 5));
    if (IsWhiteKey(key))
        return policy == TMakeSensefulEnh_Keep && spelledAcross ? enh : TEnh_Natural;
    if (policy == TMakeSensefulEnh_Keep && (enh == TEnh_Sharp || enh == TEnh_Flat))
        return enh;
    if (policy == TMakeSensefulEnh_PreferSharp)
        return TEnh_Sharp;
    if (policy == TMakeSensefulEnh_PreferFlat)
        return TEnh_Flat;
    return key == 6 ? TEnh_Sharp : TEnh_Flat;
}

std::string CKeyEnh::Name() const
{
    if (IsUndef())
        return "";
    const TEnh enh = MakeSensefulEnhForKeyNr(mKeyNr, mEnh, TMakeSensefulEnh_Keep);
    if (enh == TEnh_Natural)
        return std::string(1, kLetters[LetterIndexForWhiteKey(mKeyNr)]);
    if (enh == TEnh_Sharp)
        return std::string(1, kLetters[LetterIndexForWhiteKey((mKeyNr + 11) % 12)]) + "#";
    return std::string(1, kLetters[LetterIndexForWhiteKey((mKeyNr + 1) % 12)]) + "b";
}

CKeyEnh KeyEnhFromString(const std::string& text, size_t* used)
{
    if (used)
        *used = 0;
    if (text.empty())
        return CKeyEnh();
    int letter = -1;
    for (int i = 0; i < 7; ++i)
        if (text[0] == kLetters[i])
            letter = i;
    if (letter < 0)
        return CKeyEnh();
    int key = kLetterKeys[letter];
    int shift = 0;
    size_t i = 1;
    // Two accidentals at most: "Cbb" is read as far as it makes sense.
    while (i < text.size() && i < 3) {
        if (text[i] == '#' && shift >= 0)
            ++shift;
        else if (text[i] == 'b' && shift <= 0)
            --shift;
        else if (text.compare(i, 3, "\xE2\x99\xAF") == 0 && shift >= 0) {
            ++shift;
            i += 2;
        } else if (text.compare(i, 3, "\xE2\x99\xAD") == 0 && shift <= 0) {
            --shift;
            i += 2;
        } else
            break;
        ++i;
    }
    if (used)
        *used = i;
    key = KeyNrWrapped(key + shift);
    TEnh enh = shift > 0 ? TEnh_Sharp : (shift < 0 ? TEnh_Flat : TEnh_Natural);
    // A double accidental that lands on a white key is spelled naturally;
    // on a black key it keeps its direction (Cbb is B flat).
    if ((shift > 1 || shift < -1) && IsWhiteKey(key))
        enh = TEnh_Natural;
    return CKeyEnh(key, enh);
}

std::string CNote::Name() const
{
    if (IsUndef())
        return "";
    return KeyEnh().Name() + std::to_string(mNoteNr / 12 - 1);
}

bool operator<(const CNote& a, const CNote& b)
{
    return a.mNoteNr != b.mNoteNr ? a.mNoteNr < b.mNoteNr : a.mEnh < b.mEnh;
}

int AbsKeyIntvlFromTo(int a, int b)
{
    // 15 is the undefined key of the compact key forms.
    if (a < 0 || b < 0 || a == kKeyNrUndef15 || b == kKeyNrUndef15)
        return -1;
    return KeyNrWrapped(static_cast<int64_t>(b) - a);
}

int AbsKeyIntvlFromTo(const CNote& a, const CNote& b)
{
    if (a.IsUndef() || b.IsUndef())
        return -1;
    return KeyNrWrapped(b.mNoteNr - a.mNoteNr);
}

int KeyDistanceBetween(int a, int b)
{
    const int d = AbsKeyIntvlFromTo(a, b);
    if (d < 0)
        return -1;
    return d > 6 ? 12 - d : d;
}

int SmallestKeyIntvlBetween(int a, int b)
{
    const int d = AbsKeyIntvlFromTo(a, b);
    if (d < 0)
        return 0;
    return d > 6 ? d - 12 : d;
}

long IntvlFromToTolerateNoteNrSmallUndef(long a, long b)
{
    if (a < 0 || b < 0)
        return -129;
    return b - a;
}
