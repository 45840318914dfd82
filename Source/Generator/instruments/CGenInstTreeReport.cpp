#include "Generator/instruments/CGenInstTreeReport.h"

#include "Generator/instruments/CGenConvertCtrAndUid.h"
#include "Generator/instruments/CGenConvertMappingFactory.h"
#include "Generator/instruments/CGenInstTreePathParser.h"

#include <algorithm>
#include <sstream>

namespace {

const char* KindName(const CGenInstTreeEntry& e)
{
    if (e.Type() == TInstTreeEntryType_Leaf)
        return "leaf";
    return e.EntriesAre() == TEntriesAre_Combinable ? "combinable" : "explicit";
}

// Why a plain path doesn't resolve: the first name that isn't found below the part that is.
std::string UnresolvedReason(const CGenInstTree& tree, const std::string& path)
{
    std::string known;
    std::size_t start = 0;
    while (true) {
        const std::size_t dot = path.find('.', start);
        const std::string name = path.substr(start, dot == std::string::npos ? std::string::npos : dot - start);
        const std::string prefix = known.empty() ? name : known + "." + name;
        if (tree.FindEntryWithSinglePath(prefix) == nullptr) {
            if (name.empty())
                return "empty name after \"" + known + "\"";
            return "no \"" + name + "\" " + (known.empty() ? std::string("at the top") : "below \"" + known + "\"");
        }
        if (dot == std::string::npos)
            return "unresolved";
        known = prefix;
        start = dot + 1;
    }
}

std::string EvLine(const CGenEv& ev, const CGenDrumMap& drumMap)
{
    std::ostringstream os;
    os << "pos " << ev.mBeatPos << " ch " << (ev.Channel() + 1) << " ";
    if (ev.IsNote()) {
        os << "note " << ev.mMB1;
        const TGenDrumPiece piece = drumMap.PieceForNoteNr(ev.mMB1);
        if (piece != TGenDrumPiece_Count)
            os << " (" << TGenDrumPieceName(piece) << ")";
        os << " vel " << ev.mMB2;
        if (ev.mMB3 != -1)
            os << " mb3 " << ev.mMB3;
    } else if (ev.IsCtr()) {
        os << "ctr " << ev.mMB1 << " value " << ev.mMB2;
    } else {
        os << "status " << TStatusName(ev.Status()) << " mb1 " << ev.mMB1 << " mb2 " << ev.mMB2 << " mb3 " << ev.mMB3;
    }
    return os.str();
}

} // namespace

CGenInstTreeReport::CGenInstTreeReport() : CGenInstTreeReport(GenDrumInstTreeV1(), CGenDrumMap::GeneralMidi()) {}

CGenInstTreeReport::CGenInstTreeReport(const CGenInstTree& tree, const CGenDrumMap& drumMap) : mTree(tree), mDrumMap(drumMap)
{
}

bool CGenInstTreeReport::Resolve(const std::string& expression, std::string& text) const
{
    text.clear();
    if (expression.empty()) {
        text = "empty expression: no paths";
        return false;
    }
    CGenInstTreePathParser parser(expression);
    const std::vector<std::string>& paths = parser.results();
    if (paths.empty()) {
        text = "malformed brackets in \"" + expression + "\": no paths";
        return false;
    }
    std::ostringstream os;
    std::size_t width = 0;
    for (const std::string& p : paths)
        width = std::max(width, p.size());
    bool any = false;
    for (const std::string& p : paths) {
        os << p << std::string(width - p.size() + 2, ' ');
        if (const CGenInstTreeEntry* e = mTree.FindEntryWithSinglePath(p)) {
            os << GenInstTreeUidHexString(e->Uid()) << "\n";
            any = true;
        } else {
            os << "unresolved: " << UnresolvedReason(mTree, p) << "\n";
        }
    }
    if (!any) {
        os << "nothing resolves";
        text = os.str();
        return false;
    }
    os << "uid " << GenInstTreeUidHexString(mTree.FindUidWithPath(expression));
    text = os.str();
    return true;
}

bool CGenInstTreeReport::Tree(const std::string& path, std::string& text) const
{
    text.clear();
    const CGenInstTreeEntry* top = &mTree;
    if (!path.empty()) {
        top = mTree.FindEntryWithSinglePath(path);
        if (top == nullptr) {
            text = "no entry at \"" + path + "\": " + UnresolvedReason(mTree, path);
            return false;
        }
    }
    std::ostringstream os;
    auto line = [&](const CGenInstTreeEntry& e, int depth) {
        os << std::string(2 * depth, ' ') << e.mName << "  " << GenInstTreeUidHexString(e.Uid()) << "  " << KindName(e)
           << "\n";
    };
    if (top == &mTree)
        os << mTree.mName << "  version " << mTree.mInstTreeVersion << "\n";
    else
        line(*top, 0);
    const int indent = top == &mTree ? 0 : 1;
    if (const auto* vertex = dynamic_cast<const CGenInstTreeVertex*>(top))
        vertex->VisitEntries([&](const CGenInstTreeEntry& e, int depth) { line(e, depth + indent); });
    text = os.str();
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    return true;
}

bool CGenInstTreeReport::Convert(const std::string& uidOrPath, const std::string& mappingKey, std::string& text) const
{
    text.clear();
    TInstTreeUid uid = TInstTreeUid_Undef;
    if (!GenInstTreeUidFromString(uidOrPath, uid)) {
        uid = mTree.FindUidWithPath(uidOrPath);
        if (uid == TInstTreeUid_Undef) {
            text = "\"" + uidOrPath + "\" is neither a uid nor a path that resolves";
            return false;
        }
    }
    const CGenConvertMapping mapping = CGenConvertMappingFactory::MappingForKeyAndDrumMap(mappingKey, mDrumMap);
    if (mapping.IsEmpty()) {
        text = "unknown mapping \"" + mappingKey + "\"";
        return false;
    }
    CGenConvertCtrAndUid converter(mTree, mapping);
    const CGenEv note(0.0f, 1.0f, st_NoteOn, GenInstTreeUidToMB1(uid), 100);
    CGenEvs out;
    converter.CreateEvsWithCtrForEvWithUid(note, out);
    std::ostringstream os;
    os << "uid " << GenInstTreeUidHexString(uid) << " through " << mappingKey << ":";
    if (out.empty()) {
        CGenInstTreeEntryCollection entries;
        mTree.FindEntriesForUid(uid, entries);
        os << (entries.empty() ? " no entry of the tree matches, no events" : " the mapping makes no events of it");
        text = os.str();
        return false;
    }
    for (const CGenEv& ev : out)
        os << "\n" << EvLine(ev, mDrumMap);
    text = os.str();
    return true;
}
