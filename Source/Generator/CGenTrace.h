#pragma once

#include <iostream>
#include <sstream>
#include <string>
#include <type_traits>

// The diagnostic surface every value class offers. A class provides
// TraceStream(std::ostream&) and, if it has a short form, TraceStreamBrief;
// this base derives the five trace functions from them.
template <class TDerived>
class CGenTraceable {
public:
    void Trace() const { std::cout << TraceString() << std::endl; }
    void TraceBrief() const { std::cout << TraceBriefString() << std::endl; }
    std::string TraceStr() const { return TraceString(); }
    std::string TraceString() const
    {
        std::ostringstream os;
        Self().TraceStream(os);
        return os.str();
    }
    std::string TraceBriefString() const
    {
        std::ostringstream os;
        if constexpr (requires(const TDerived& d, std::ostream& o) { d.TraceStreamBrief(o); })
            Self().TraceStreamBrief(os);
        else
            os << TDerived::kTraceClassName << ": todo define TraceStreamBrief, size  ";
        return os.str();
    }

    // The trace surface holds no state, so defaulted comparisons of derived
    // classes see equal bases. Only an exact match of this base type may pick
    // it: a class that also derives from a container must keep comparing its
    // elements.
    template <class T>
        requires std::is_same_v<T, CGenTraceable>
    friend constexpr bool operator==(const T&, const T&)
    {
        return true;
    }

private:
    const TDerived& Self() const { return static_cast<const TDerived&>(*this); }
};
