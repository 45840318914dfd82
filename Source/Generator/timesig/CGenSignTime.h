#pragma once

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTrace.h"
#include "Generator/CGenTypes.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

// One metre: a numerator, optionally split into compound parts (3+2+2), over a
// denominator given as its exponent (2 = quarter, 3 = eighth). A beat is a
// quarter note, so a bar lasts mNom * 4 / 2^mDenom beats.
class CGenSignTime : public CGenTraceable<CGenSignTime> {
public:
    static constexpr const char* kTraceClassName = "CGenSignTime";
    // The undefined denominator; -1 so that it reads as ~0 when unsigned.
    static constexpr int kDenom_Undef = -1;
    // The largest values an archive may give: 1024 beats of a 1/65536 note.
    static constexpr int kNom_ArchiveMax = 1024;
    static constexpr int kDenom_ArchiveMax = 16;
    static constexpr int kCompoundParts_ArchiveMax = 64;
    // Element type of the compound parts as class version 1 archived them.
    using TTNomsInEv = int;

    int mNom = 0;
    // Empty for a plain metre; otherwise the parts, and mNom is their sum.
    std::vector<uint8_t> mCompoundNoms;
    int mDenom = kDenom_Undef;

    constexpr CGenSignTime() = default;
    // Setter rules apply: a negative numerator becomes 0, a denominator
    // below -1 becomes 0.
    constexpr CGenSignTime(int nom, int denom) { SetNom(nom), SetDenom(denom); }
    CGenSignTime(const std::vector<uint8_t>& compoundNoms, int denom);

    constexpr int Nom() const { return mNom; }
    constexpr int Denom() const { return mDenom; }
    const std::vector<uint8_t>& CompoundNoms() const { return mCompoundNoms; }
    bool IsCompound() const { return !mCompoundNoms.empty(); }
    constexpr void SetNom(int nom)
    {
        mNom = nom < 0 ? 0 : nom;
        mCompoundNoms.clear();
    }
    constexpr void SetDenom(int denom) { mDenom = denom < kDenom_Undef ? 0 : denom; }
    // Parts of one element become a plain numerator; mNom becomes the sum.
    void SetCompoundNoms(const std::vector<uint8_t>& noms);

    constexpr bool DenomIsUndef() const { return mDenom == kDenom_Undef; }
    constexpr bool IsUndef() const { return mNom <= 0 || DenomIsUndef(); }
    // 4 / 2^mDenom; undefined for an undefined denominator.
    float DenomLength() const;
    // mNom * DenomLength(); undefined for an undefined denominator.
    float BarLength() const;

    void SetFromSignTime(const CGenSignTime& other);
    // Canonical written form: 2/2 -> 4/4, 4/8 -> 2/4, 1/2 -> 2/4; 3/8, 6/8
    // and 12/8 stay.
    void SimplifyByReducingOrExpanding();
    CGenSignTime Simplified() const
    {
        CGenSignTime s(*this);
        s.SimplifyByReducingOrExpanding();
        return s;
    }
    // The multiple of the bar length that brings pos into [0, bar length);
    // undefined for a metre without a numerator or denominator.
    float MultiplesOfBarLengthToGetIntoBarRange(float pos) const;

    bool operator==(const CGenSignTime& o) const = default;

    // "4/4", "3+2+2/8"; an undefined denominator prints as "?".
    void TraceStream(std::ostream& os) const;
    void TraceStreamBrief(std::ostream& os) const { TraceStream(os); }
    // "{4, 2}", "{{3, 2, 2}, 3}": the form that rebuilds this metre in code.
    std::string TraceForInitializerList() const;

    template <class Archive>
    void save(Archive& ar, const unsigned int /*version*/) const
    {
        ar& boost::serialization::make_nvp("mNom", mNom);
        ar& boost::serialization::make_nvp("mCompoundNoms", mCompoundNoms);
        ar& boost::serialization::make_nvp("mDenom", mDenom);
    }
    template <class Archive>
    void load(Archive& ar, const unsigned int version)
    {
        int nom = 0, denom = kDenom_Undef;
        std::vector<uint8_t> parts;
        ar& boost::serialization::make_nvp("mNom", nom);
        if (version == 1) {
            std::vector<TTNomsInEv> convertNoms;
            ar& boost::serialization::make_nvp("convertNoms", convertNoms);
            for (TTNomsInEv n : convertNoms)
                parts.push_back(static_cast<uint8_t>(n));
        } else if (version >= 2) {
            ar& boost::serialization::make_nvp("mCompoundNoms", parts);
        }
        ar& boost::serialization::make_nvp("mDenom", denom);
        // Read values bypass the setters: a metre outside what music uses
        // is damage, and refused before any bar length is worked out from it.
        zkgen::CheckArchiveRange(nom, 0, kNom_ArchiveMax, "a time signature's numerator");
        zkgen::CheckArchiveRange(static_cast<long long>(parts.size()), 0, kCompoundParts_ArchiveMax,
            "the parts of a time signature");
        zkgen::CheckArchiveRange(denom, kDenom_Undef, kDenom_ArchiveMax, "a time signature's denominator");
        mNom = nom;
        mCompoundNoms = parts;
        mDenom = denom;
    }
    BOOST_SERIALIZATION_SPLIT_MEMBER()
};
BOOST_CLASS_VERSION(CGenSignTime, 2)

std::ostream& operator<<(std::ostream& os, const CGenSignTime& s);

// Constant-initialised, so usable from any other initialiser.
inline constinit const CGenSignTime CGenSignTime_Default44 {4, 2};
inline constinit const CGenSignTime CGenSignTime_Undef {0, CGenSignTime::kDenom_Undef};
