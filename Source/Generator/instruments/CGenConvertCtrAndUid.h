#pragma once

#include "Generator/CGenEvs.h"
#include "Generator/instruments/CGenConvertMapping.h"
#include "Generator/instruments/CGenInstTree.h"
#include "Generator/instruments/CKCtr.h"

#include <map>
#include <unordered_map>
#include <optional>
#include <tuple>
#include <vector>

// Reads controller values off the path of tree entries through a mapping.
class CGenFindCKCtrValue {
public:
    CGenFindCKCtrValue(const CGenInstTree& tree, const CGenConvertMapping& mapping);

    // Walks from the entry towards the root, adding the token values of the
    // MB1 and MB2 adders to the sums; the value of the nearest entry whose
    // token's controller equals `ctr`, else kCKCtrValue_Undef.
    int FromInstTreeEntry(const CGenInstTreeEntry* entry, const CKCtr& ctr);
    // The first value found over the members; the sums run over all of them.
    int FromInstTreeEntryCollection(const CGenInstTreeEntryCollection& collection, const CKCtr& ctr);

    int mSumMB1 = 0;
    int mSumMB2 = 0;

private:
    int _FromInstTreeEntry(const CGenInstTreeEntry* entry, const CKCtr& ctr);

    const CGenInstTree& mTree;
    const CGenConvertMapping& mMapping;
};

// Turns events whose MB1 holds an instrument uid into the notes and
// controllers of a sound set, through a mapping from tree paths to
// controllers, and back. Holds the tree by reference.
class CGenConvertCtrAndUid {
public:
    CGenConvertCtrAndUid(const CGenInstTree& tree, const CGenConvertMapping& mapping);

    // Clears `out`, copies the length, and appends the events made of each
    // event of `in` in order (appended, not sorted into place).
    void ConvertEvsWithUidToEvsWithCtr(const CGenEvs& in, CGenEvs& out);
    // The sorted output events of one uid event; none for a uid without entries.
    void CreateEvsWithCtrForEvWithUid(const CGenEv& ev, CGenEvs& out);

    // The way back, for content import: each sounding note whose note number
    // (with MB3 and the relevant controllers in force) a tree entry produces
    // becomes a note with that entry's uid; controller events the mapping
    // uses are consumed; everything else goes to `rest`.
    void ConvertEvsWithCtrToEvsWithUid(const CGenEvs& in, CGenEvs& out, CGenEvs& rest);
    // The uid form of one note, or nothing if no entry produces it.
    std::optional<CGenEv> CreateEvWithUidForEvAndCtrValues(const CGenEv& ev, const CKCtrAndValues& ctrAndValues);

    // The controllers the paths of the tree map to, each once, in tree order.
    const CKCtrAndValues& RelevantCtrs() const { return mRelevantCtrs; }
    const CGenConvertMapping& Mapping() const { return mMapping; }

private:
    struct TInverseCandidate {
        TInstTreeUid mUid = TInstTreeUid_Undef;
        CKCtrAndValues mCtrValues;
    };
    using TInverseKey = std::tuple<int, int>; // note number, MB3

    const TCKCtr* _TCKCtrForEntry(const CGenInstTreeEntry* entry) const;
    const std::vector<const TCKCtr*>& _CtrChainForEntry(const CGenInstTreeEntry* entry);
    const CGenInstTreeEntryCollection& _EntriesForUid(TInstTreeUid uid);
    void _CreateEvsWithCtr(const CGenInstTreeEntryCollection& collection, const CGenEv& ev, CGenEvs& out);
    void __CreateEvsWithCtr(const CGenInstTreeEntry* entry, const CGenEv& ev, std::vector<CGenEv>& evs, int& channel);
    void _BuildInverse();

    const CGenInstTree& mTree;
    CGenConvertMapping mMapping;
    CKCtrAndValues mRelevantCtrs;
    // The controller row of every entry that has one.
    std::map<const CGenInstTreeEntry*, const TCKCtr*> mEntryCtrs;
    // Entries found per uid; a generation strikes few distinct uids.
    std::map<TInstTreeUid, CGenInstTreeEntryCollection> mEntriesForUid;
    // The usable controller rows from an entry up to the root, the entry's
    // first: worked out once per entry, since every event of a kit piece
    // walks the same chain.
    std::unordered_map<const CGenInstTreeEntry*, std::vector<const TCKCtr*>> mCtrChains;
    // Events converted before, by status, uid, velocity and MB3.
    using TMemoKey = std::tuple<int, int, int, int>;
    struct TMemoEntry {
        CGenEv mSource;
        CGenEvs mEvs;
    };
    std::map<TMemoKey, std::vector<TMemoEntry>> mMemo;
    size_t mMemoSize = 0;
    // Working state of one conversion.
    std::vector<CGenEv> mScratchEvs;
    int mSums[3] = { 0, 0, 0 };
    std::map<TInverseKey, std::vector<TInverseCandidate>> mInverse;
    bool mInverseBuilt = false;
};
