#include "Generator/instruments/CKCtr.h"

#include <algorithm>

namespace {

int AnyAsZero(int v) { return v < 0 ? 0 : v; }

} // namespace

bool CKCtr::EvMatches(const CGenEv& ev) const
{
    if (!IsValid())
        return false;
    if (mMidiStatus != kCKCtrStatus_Any && (ev.Status() & 0xF0) != mMidiStatus)
        return false;
    if (mMidiChannel != kCKCtrChannel_Any && ev.Channel() != mMidiChannel)
        return false;
    if (mMB1 != kCKCtrMB_Any && ev.mMB1 != mMB1)
        return false;
    if (mMB2 != kCKCtrMB_Any && ev.mMB2 != mMB2)
        return false;
    if (mMB3 != kCKCtrMB_Any && ev.mMB3 != mMB3)
        return false;
    return true;
}

int CKCtr::ExtractCtrValueFromEv(const CGenEv* ev) const
{
    if (ev == nullptr)
        return kCKCtrValue_Undef;
    switch (mMidiValuePosition) {
    case TKCtrMidiValuePosition_StatusHighNibble: return ev->Status() & 0xF0;
    case TKCtrMidiValuePosition_Channel: return ev->Channel();
    case TKCtrMidiValuePosition_MB1: return ev->mMB1;
    case TKCtrMidiValuePosition_MB2: return ev->mMB2;
    case TKCtrMidiValuePosition_MB1MB2: return (ev->mMB1 << 7) + ev->mMB2;
    case TKCtrMidiValuePosition_MB3: return ev->mMB3;
    case TKCtrMidiValuePosition_AddToStatus: return ev->Status();
    case TKCtrMidiValuePosition_AddToChannel: return ev->Channel();
    case TKCtrMidiValuePosition_AddToMB1: return ev->mMB1;
    case TKCtrMidiValuePosition_AddToMB2: return ev->mMB2;
    case TKCtrMidiValuePosition_AddToMB3: return ev->mMB3;
    default: return kCKCtrValue_Undef;
    }
}

void CKCtr::SetValue(int value)
{
    switch (mMidiValuePosition) {
    case TKCtrMidiValuePosition_StatusHighNibble: mMidiStatus = value; break;
    case TKCtrMidiValuePosition_Channel: mMidiChannel = static_cast<uint8_t>(value); break;
    case TKCtrMidiValuePosition_MB1: mMB1 = value; break;
    case TKCtrMidiValuePosition_MB2: mMB2 = value; break;
    case TKCtrMidiValuePosition_MB1MB2:
        mMB1 = value / 128;
        mMB2 = value % 128;
        break;
    case TKCtrMidiValuePosition_MB3: mMB3 = value; break;
    case TKCtrMidiValuePosition_AddToStatus:
        mMidiStatus = (mMidiStatus == kCKCtrStatus_Any ? 0 : mMidiStatus) + value;
        break;
    case TKCtrMidiValuePosition_AddToChannel:
        mMidiChannel = static_cast<uint8_t>((mMidiChannel == kCKCtrChannel_Any ? 0 : mMidiChannel) + value);
        break;
    case TKCtrMidiValuePosition_AddToMB1: mMB1 = AnyAsZero(mMB1) + value; break;
    case TKCtrMidiValuePosition_AddToMB2: mMB2 = AnyAsZero(mMB2) + value; break;
    case TKCtrMidiValuePosition_AddToMB3: mMB3 = AnyAsZero(mMB3) + value; break;
    default: break;
    }
}

CGenEv CKCtr::ConvertToEv(float pos, int channel) const
{
    int status = 0;
    if (mMidiStatus != kCKCtrStatus_Any && mMidiStatus >= 0)
        status = mMidiStatus >= st_Sysex ? (mMidiStatus & 0xFF) : (mMidiStatus & 0xF0);
    if (status < st_Sysex) {
        int ch = 0;
        if (mMidiChannel != kCKCtrChannel_Any)
            ch = mMidiChannel;
        else if (channel >= 0 && channel != kCKCtrChannel_Any)
            ch = channel;
        status |= ch & 0x0F;
    }
    return CGenEv(pos, TGenBeatLength_Undef, status, mMB1, mMB2, -1, TTransposeEv_Dont, mMB3);
}

void CKCtr::TraceStream(std::ostream& os) const
{
    if (!IsValid()) {
        os << "CKCtr undef";
        return;
    }
    os << "CKCtr status ";
    if (mMidiStatus == kCKCtrStatus_Any)
        os << "any";
    else
        os << TStatusName(mMidiStatus);
    os << " channel ";
    if (mMidiChannel == kCKCtrChannel_Any)
        os << "any";
    else
        os << int(mMidiChannel);
    os << " mb1 " << mMB1 << " mb2 " << mMB2 << " mb3 " << mMB3 << " valuePos " << int(mMidiValuePosition);
}

std::ostream& operator<<(std::ostream& os, const CKCtr& ctr)
{
    ctr.TraceStream(os);
    return os;
}

void CKCtrAndValue::TraceStream(std::ostream& os) const
{
    mCtr.TraceStream(os);
    os << " value ";
    if (mValue == kCKCtrValue_Undef)
        os << "undef";
    else
        os << mValue;
}

void CKCtrAndValues::UpdateFromCtrAndValue(const CKCtrAndValue& ctrAndValue)
{
    for (auto& el : *this) {
        if (el.mCtr == ctrAndValue.mCtr) {
            el.mValue = ctrAndValue.mValue;
            return;
        }
    }
    push_back(ctrAndValue);
}

void CKCtrAndValues::AddCtrIfUniqueAndNotUndef(const CKCtr& ctr)
{
    if (!ctr.IsValid() || ContainsCtr(ctr))
        return;
    push_back(CKCtrAndValue(ctr, kCKCtrValue_Undef));
}

int CKCtrAndValues::ValueForCtr(const CKCtr& ctr) const
{
    for (const auto& el : *this)
        if (el.mCtr == ctr)
            return el.mValue;
    return kCKCtrValue_Undef;
}

bool CKCtrAndValues::ContainsCtr(const CKCtr& ctr) const
{
    return std::any_of(begin(), end(), [&](const CKCtrAndValue& el) { return el.mCtr == ctr; });
}

void CKCtrAndValues::TraceStream(std::ostream& os) const
{
    os << "CKCtrAndValues size " << size();
    for (const auto& el : *this)
        os << "\n  " << el.TraceString();
}
