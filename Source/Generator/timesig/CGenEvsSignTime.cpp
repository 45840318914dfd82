#include "Generator/timesig/CGenEvsSignTime.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace zkgen {

// A bar count as an int: NaN is undefined, anything beyond the range is
// saturated so that huge positions never overflow.
int SaturatedBarNr(double v)
{
    if (std::isnan(v))
        return TGenBarNr_Undef;
    if (v >= double(INT_MAX))
        return INT_MAX;
    if (v <= double(TGenBarNr_Undef) + 1.0)
        return TGenBarNr_Undef + 1;
    return static_cast<int>(v);
}

namespace {

// "2.5" for 2.5, "1" for 1.0, at most four decimals.
std::string FourDecimals(double v)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.4f", v);
    std::string s(buf);
    if (s.find('.') != std::string::npos) {
        while (!s.empty() && s.back() == '0')
            s.pop_back();
        if (!s.empty() && s.back() == '.')
            s.pop_back();
    }
    if (s == "-0")
        s = "0";
    return s;
}

// A whole-string integer; false for anything else.
bool ParseInt(const std::string& text, long long& out)
{
    if (text.empty())
        return false;
    char* endp = nullptr;
    errno = 0;
    out = std::strtoll(text.c_str(), &endp, 10);
    return errno == 0 && endp && *endp == '\0';
}

// A whole-string number; false for anything else.
bool ParseFloat(const std::string& text, float& out)
{
    if (text.empty())
        return false;
    char* endp = nullptr;
    errno = 0;
    out = std::strtof(text.c_str(), &endp);
    return errno == 0 && endp && *endp == '\0' && std::isfinite(out);
}

// Bars that a length string may count; beyond this the text is refused rather
// than walked.
constexpr long long kMaxBarsInLengthString = 1 << 20;

} // namespace
} // namespace zkgen

void CGenEvSignTime::TraceStream(std::ostream& os) const
{
    os << "CGenEvSignTime: BeatPosAbs " << mBeatPosAbs << ", " << mSignTime << ", CompiledBarNr " << mCompiledBarNr;
}

std::string CGenEvSignTime::TraceForInitializerList() const
{
    std::ostringstream os;
    os << "{" << mBeatPosAbs << ", " << mSignTime.TraceForInitializerList() << "}";
    return os.str();
}

CGenEvsSignTime::CGenEvsSignTime(const CGenEvsSignTime& o) : TBase(), CGenTraceable<CGenEvsSignTime>()
{
    std::lock_guard<std::mutex> lock(o.mCompileMutex);
    static_cast<TBase&>(*this) = static_cast<const TBase&>(o);
    mNeedsCompile.store(o.mNeedsCompile.load(std::memory_order_acquire), std::memory_order_release);
}

CGenEvsSignTime::CGenEvsSignTime(CGenEvsSignTime&& o) noexcept : TBase(), CGenTraceable<CGenEvsSignTime>()
{
    static_cast<TBase&>(*this) = std::move(static_cast<TBase&>(o));
    mNeedsCompile.store(o.mNeedsCompile.load(std::memory_order_acquire), std::memory_order_release);
    o.SetNeedsCompile();
}

CGenEvsSignTime& CGenEvsSignTime::operator=(const CGenEvsSignTime& o)
{
    if (this == &o)
        return *this;
    std::lock_guard<std::mutex> lock(o.mCompileMutex);
    static_cast<TBase&>(*this) = static_cast<const TBase&>(o);
    mNeedsCompile.store(o.mNeedsCompile.load(std::memory_order_acquire), std::memory_order_release);
    return *this;
}

CGenEvsSignTime& CGenEvsSignTime::operator=(CGenEvsSignTime&& o) noexcept
{
    if (this == &o)
        return *this;
    static_cast<TBase&>(*this) = std::move(static_cast<TBase&>(o));
    mNeedsCompile.store(o.mNeedsCompile.load(std::memory_order_acquire), std::memory_order_release);
    o.SetNeedsCompile();
    return *this;
}

void CGenEvsSignTime::Compile() const
{
    if (!mNeedsCompile.load(std::memory_order_acquire))
        return;
    std::lock_guard<std::mutex> lock(mCompileMutex);
    if (!mNeedsCompile.load(std::memory_order_relaxed))
        return;
    const TBase& els = *this;
    for (size_t i = 0; i < els.size(); ++i) {
        const CGenEvSignTime& el = els[i];
        if (i == 0) {
            if (el.mBeatPosAbs == 0.0f) {
                el.mCompiledBarNr = 1;
            } else {
                float len = el.mSignTime.BarLength();
                if (GenIsUndef(len) || !(len > 0.0f))
                    len = 4.0f;
                el.mCompiledBarNr = zkgen::SaturatedBarNr(std::trunc(double(el.mBeatPosAbs / len + 1.0f)));
            }
            continue;
        }
        const CGenEvSignTime& prev = els[i - 1];
        const float len = prev.mSignTime.BarLength();
        double bars = 0.0;
        // A zero length counts no bars; an undefined one divides by the
        // sentinel, which gives about zero bars too.
        if (len != 0.0f)
            bars = std::round(double((el.mBeatPosAbs - prev.mBeatPosAbs) / len));
        el.mCompiledBarNr = zkgen::SaturatedBarNr(double(prev.mCompiledBarNr) + bars);
    }
    mNeedsCompile.store(false, std::memory_order_release);
}

CGenEvsSignTime::const_iterator CGenEvsSignTime::FindSignTimeAtOrBefore(float pos) const
{
    if (GenIsUndef(pos))
        return end();
    auto ub = std::upper_bound(begin(), end(), pos, [](float p, const CGenEvSignTime& el) { return p < el.mBeatPosAbs; });
    return ub == begin() ? end() : std::prev(ub);
}

CGenEvsSignTime::const_iterator CGenEvsSignTime::FindSignTimeAtOrBeforeExtendingFirstToLeft(float pos) const
{
    if (GenIsUndef(pos) || TBase::empty())
        return end();
    auto it = FindSignTimeAtOrBefore(pos);
    return it == end() ? begin() : it;
}

CGenEvsSignTime::const_iterator CGenEvsSignTime::FindEvSignTimeAtOrBeforeInternBarNrExtendingFirstToLeft(int barNr) const
{
    if (TBase::empty() || barNr == TGenBarNr_Undef)
        return end();
    Compile();
    const_iterator found = end();
    for (auto it = begin(); it != end(); ++it)
        if (it->mCompiledBarNr <= barNr)
            found = it;
    return found == end() ? begin() : found;
}

float CGenEvsSignTime::FirstSignTimeBeatPos() const
{
    return TBase::empty() ? TGenBeatPosAbs_Undef : TBase::front().mBeatPosAbs;
}

float CGenEvsSignTime::BarBeatLengthAt(float pos) const
{
    auto it = FindSignTimeAtOrBefore(pos);
    return it == end() ? TGenBeatLength_Undef : it->mSignTime.BarLength();
}

float CGenEvsSignTime::DenomBeatLengthAt(float pos) const
{
    auto it = FindSignTimeAtOrBefore(pos);
    return it == end() ? TGenBeatLength_Undef : it->mSignTime.DenomLength();
}

const CGenSignTime& CGenEvsSignTime::SignTimeAt(float pos) const
{
    auto it = FindSignTimeAtOrBefore(pos);
    return it == end() ? CGenSignTime_Undef : it->mSignTime;
}

float CGenEvsSignTime::_BarLengthAtExtending(float pos) const
{
    auto it = FindSignTimeAtOrBeforeExtendingFirstToLeft(pos);
    return it == end() ? TGenBeatLength_Undef : it->mSignTime.BarLength();
}

bool CGenEvsSignTime::_BarAt(float pos, const_iterator* hint, TBarAt& at) const
{
    at = TBarAt {end()};
    if (GenIsUndef(pos) || TBase::empty())
        return false;
    Compile();
    const_iterator it;
    if (hint && *hint != end() && (*hint)->mBeatPosAbs <= pos) {
        it = *hint;
        while (std::next(it) != end() && std::next(it)->mBeatPosAbs <= pos)
            ++it;
    } else {
        it = FindSignTimeAtOrBeforeExtendingFirstToLeft(pos);
    }
    if (hint)
        *hint = it;

    const float elPos = it->mBeatPosAbs;
    const float len = it->mSignTime.BarLength();
    at.mIt = it;
    at.mBarLength = len;
    at.mBarNr = it->mCompiledBarNr;
    at.mBarStart = elPos;
    if (GenIsUndef(len))
        return true;
    if (len <= 0.0f) {
        at.mLengthInBar = pos - elPos;
        return true;
    }
    const float bars = std::floor((pos - elPos) / len);
    at.mBarNr = zkgen::SaturatedBarNr(double(it->mCompiledBarNr) + double(bars));
    at.mBarStart = elPos + len * bars;
    at.mLengthInBar = pos - at.mBarStart;
    return true;
}

void CGenEvsSignTime::BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(float pos, int* barNr, float* lengthInBar,
    float* barStart, const_iterator* iter) const
{
    if (barNr)
        *barNr = TGenBarNr_Undef;
    if (lengthInBar)
        *lengthInBar = TGenBeatLength_Undef;
    if (barStart)
        *barStart = TGenBeatPosAbs_Undef;
    if (!barNr && !lengthInBar && !barStart)
        return;
    TBarAt at;
    if (!_BarAt(pos, iter, at))
        return;
    if (barNr)
        *barNr = at.mBarNr;
    if (lengthInBar)
        *lengthInBar = at.mLengthInBar;
    if (barStart)
        *barStart = at.mBarStart;
}

void CGenEvsSignTime::BeatPosToInternBarNrAndLengthInBar(float pos, int* barNr, float* lengthInBar, const_iterator* iter) const
{
    BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(pos, barNr, lengthInBar, nullptr, iter);
}

void CGenEvsSignTime::BeatPosToInternBarNrAndInternBeatNrAndBarStartBeatPos(float pos, int* barNr, int* beatNr,
    float* barStart, const_iterator* iter) const
{
    if (beatNr)
        *beatNr = TGenBarNr_Undef;
    float lengthInBar = TGenBeatLength_Undef;
    BeatPosToInternBarNrAndLengthInBarAndBarStartBeatPos(pos, barNr, &lengthInBar, barStart, iter);
    if (beatNr && GenIsDef(lengthInBar))
        *beatNr = zkgen::SaturatedBarNr(std::floor(double(lengthInBar)) + 1.0);
}

int CGenEvsSignTime::BeatPosToInternBarNr(float pos) const
{
    if (TBase::empty())
        return 1;
    if (GenIsUndef(pos))
        return TGenBarNr_Undef;
    TBarAt at;
    _BarAt(pos, nullptr, at);
    if (GenIsUndef(at.mBarLength) || at.mBarLength <= 0.0f)
        return zkgen::SaturatedBarNr(std::floor(double(pos - at.mIt->mBeatPosAbs) / 4.0) + double(at.mIt->mCompiledBarNr));
    return at.mBarNr;
}

float CGenEvsSignTime::InternBarNrAndLengthInBarToBeatPos(int barNr, float lengthInBar) const
{
    if (TBase::empty())
        return 0.0f;
    if (barNr == TGenBarNr_Undef)
        return TGenBeatPosAbs_Undef;
    auto it = FindEvSignTimeAtOrBeforeInternBarNrExtendingFirstToLeft(barNr);
    const float len = it->mSignTime.BarLength();
    if (GenIsUndef(len) || GenIsUndef(it->mBeatPosAbs))
        return TGenBeatPosAbs_Undef;
    // The numerator, not the bar length, limits the length in the bar.
    const float clamped = std::max(0.0f, std::min(lengthInBar, float(it->mSignTime.mNom)));
    const double bars = double(int64_t(barNr) - int64_t(it->mCompiledBarNr));
    return it->mBeatPosAbs + len * static_cast<float>(bars) + clamped;
}

float CGenEvsSignTime::InternBarNrAndBeatNrToBeatPos(int barNr, int beatNr) const
{
    return InternBarNrAndLengthInBarToBeatPos(barNr, static_cast<float>(int64_t(beatNr) - 1));
}

float CGenEvsSignTime::_FindBarStartPos(float pos, TFindBeat findBeat, const_iterator* hint, const_iterator* resultIter) const
{
    if (resultIter)
        *resultIter = end();
    TBarAt at;
    if (findBeat < 0 || findBeat > 6 || !_BarAt(pos, hint, at))
        return TGenBeatPos_Undef;
    if (resultIter)
        *resultIter = at.mIt;
    const float len = at.mBarLength;
    if (GenIsUndef(len) || !(len > 0.0f))
        return TGenBeatPos_Undef;
    const bool exact = at.mLengthInBar == 0.0f;
    switch (findBeat) {
    case 0: return exact ? at.mBarStart : TGenBeatPos_Undef;
    case 1: return at.mBarStart + len;
    case 2: return exact ? at.mBarStart : at.mBarStart + len;
    case 3: {
        if (!exact)
            return at.mBarStart;
        float backLen = len;
        if (at.mBarStart == at.mIt->mBeatPosAbs && at.mIt != begin())
            backLen = std::prev(at.mIt)->mSignTime.BarLength();
        if (GenIsUndef(backLen) || !(backLen > 0.0f))
            return TGenBeatPos_Undef;
        return at.mBarStart - backLen;
    }
    case 4: return at.mBarStart;
    default: // 5, 6
        if (exact || at.mLengthInBar <= len * 0.5f)
            return at.mBarStart;
        return at.mBarStart + len;
    }
}

float CGenEvsSignTime::FindBarStartPos(float pos, TFindBeat findBeat, const_iterator* hint) const
{
    return _FindBarStartPos(pos, findBeat, hint, nullptr);
}

float CGenEvsSignTime::FindBeatStartPos(float pos, TFindBeat findBeat) const
{
    TBarAt at;
    if (findBeat < 0 || findBeat > 6 || !_BarAt(pos, nullptr, at) || GenIsUndef(at.mLengthInBar))
        return TGenBeatPos_Undef;
    const float d = at.mIt->mSignTime.DenomLength();
    if (GenIsUndef(d) || !(d > 0.0f))
        return TGenBeatPos_Undef;
    const float r = std::fmod(at.mLengthInBar, d);
    const float beatStart = at.mBarStart + d * std::floor(at.mLengthInBar / d);
    const bool exact = r == 0.0f;
    switch (findBeat) {
    case 0: return exact ? beatStart : TGenBeatPos_Undef;
    case 1: return beatStart + d;
    case 2: return exact ? beatStart : beatStart + d;
    case 3: return exact ? beatStart - d : beatStart;
    case 4: return beatStart;
    default: return (exact || r <= d * 0.5f) ? beatStart : beatStart + d;
    }
}

float CGenEvsSignTime::FindBarStartPosThenIterateBarDist(float pos, TFindBeat findBeat, int barDist) const
{
    const float start = FindBarStartPos(pos, findBeat);
    if (GenIsUndef(start))
        return TGenBeatPos_Undef;
    const int nr = BeatPosToInternBarNr(start);
    if (nr == TGenBarNr_Undef)
        return TGenBeatPos_Undef;
    return InternBarNrAndLengthInBarToBeatPos(zkgen::SaturatedBarNr(double(nr) + double(barDist)), 0.0f);
}

float CGenEvsSignTime::FindBeatPosInBar(float pos) const
{
    const float start = FindBarStartPos(pos, 4);
    return GenIsUndef(start) ? TGenBeatPos_Undef : pos - start;
}

float CGenEvsSignTime::FindBeatPosInBeat(float pos) const
{
    const float inBar = FindBeatPosInBar(pos);
    if (GenIsUndef(inBar))
        return TGenBeatPos_Undef;
    auto it = FindSignTimeAtOrBeforeExtendingFirstToLeft(pos);
    const float d = it->mSignTime.DenomLength();
    if (GenIsUndef(d) || !(d > 0.0f))
        return TGenBeatPos_Undef;
    return std::fmod(inBar, d);
}

bool CGenEvsSignTime::IsAtBarStart(float pos) const
{
    if (GenIsUndef(pos) || pos < 0.0f)
        return false;
    auto it = FindSignTimeAtOrBefore(pos);
    if (it == end())
        return false;
    const float len = it->mSignTime.BarLength();
    if (GenIsUndef(len) || !(len > 0.0f))
        return false;
    return std::fmod(pos - it->mBeatPosAbs, len) == 0.0f;
}

int CGenEvsSignTime::DistanceInBars(float a, float b) const
{
    if (GenIsUndef(a) || GenIsUndef(b))
        return TGenBarNr_Undef;
    const int na = BeatPosToInternBarNr(a), nb = BeatPosToInternBarNr(b);
    if (na == TGenBarNr_Undef || nb == TGenBarNr_Undef)
        return TGenBarNr_Undef;
    return zkgen::SaturatedBarNr(double(nb) - double(na));
}

std::string CGenEvsSignTime::BeatPosString(float pos) const
{
    int barNr = TGenBarNr_Undef;
    float lengthInBar = TGenBeatLength_Undef;
    BeatPosToInternBarNrAndLengthInBar(pos, &barNr, &lengthInBar);
    if (barNr == TGenBarNr_Undef || GenIsUndef(lengthInBar))
        return "Undef";
    std::string s("b");
    s.append(std::to_string(barNr)).append(".").append(zkgen::FourDecimals(double(lengthInBar) + 1.0));
    return s;
}

float CGenEvsSignTime::BeatPosStringToBeatPos(const std::string& text) const
{
    if (text.size() < 2 || text[0] != 'b')
        return TGenBeatPos_Undef;
    const size_t sep = text.find_first_of(". ", 1);
    const std::string barText = text.substr(1, sep == std::string::npos ? std::string::npos : sep - 1);
    long long bar = 0;
    if (!zkgen::ParseInt(barText, bar) || bar <= TGenBarNr_Undef || bar > INT_MAX)
        return TGenBeatPos_Undef;
    float beat = 1.0f;
    if (sep != std::string::npos && !zkgen::ParseFloat(text.substr(sep + 1), beat))
        return TGenBeatPos_Undef;
    return InternBarNrAndLengthInBarToBeatPos(static_cast<int>(bar), beat - 1.0f);
}

std::string CGenEvsSignTime::BeatLengthString(float pos, float length) const
{
    if (GenIsUndef(pos) || GenIsUndef(length) || length < 0.0f || TBase::empty())
        return "Undef";
    const float endPos = pos + length;
    float cur = pos;
    long long bars = 0;
    while (bars < zkgen::kMaxBarsInLengthString) {
        const float len = _BarLengthAtExtending(cur);
        if (GenIsUndef(len) || !(len > 0.0f) || cur + len > endPos || cur + len == cur)
            break;
        cur += len;
        ++bars;
    }
    std::string s = std::to_string(bars);
    s.append(":").append(zkgen::FourDecimals(double(endPos) - double(cur)));
    return s;
}

float CGenEvsSignTime::BeatLengthStringToBeatLength(const std::string& text, float pos) const
{
    const size_t sep = text.find(':');
    if (sep == std::string::npos || GenIsUndef(pos) || TBase::empty())
        return TGenBeatLength_Undef;
    long long bars = 0;
    float beats = 0.0f;
    if (!zkgen::ParseInt(text.substr(0, sep), bars) || bars < 0 || bars > zkgen::kMaxBarsInLengthString
        || !zkgen::ParseFloat(text.substr(sep + 1), beats))
        return TGenBeatLength_Undef;
    float cur = pos;
    for (long long i = 0; i < bars; ++i) {
        const float len = _BarLengthAtExtending(cur);
        if (GenIsUndef(len) || !(len > 0.0f))
            return TGenBeatLength_Undef;
        cur += len;
    }
    return cur + beats - pos;
}

void CGenEvsSignTime::TraceStream(std::ostream& os) const
{
    Compile();
    os << "CGenEvsSignTime size " << TBase::size();
    for (const auto& el : *this)
        os << "\n  ", el.TraceStream(os);
}

void CGenEvsSignTime::TraceStreamBrief(std::ostream& os) const
{
    os << "CGenEvsSignTime";
    for (const auto& el : *this)
        os << " " << el.mBeatPosAbs << ":" << el.mSignTime;
}

std::ostream& operator<<(std::ostream& os, const CGenEvsSignTime& m)
{
    m.TraceStream(os);
    return os;
}

CGenEvsSignTime_Default44::CGenEvsSignTime_Default44() : CGenEvsSignTime {CGenEvSignTime_Default44}
{
    Compile();
}

const CGenEvsSignTime& CGenEvsSignTime_Default44::Shared()
{
    static const CGenEvsSignTime_Default44 shared;
    return shared;
}
