// Code written against the published interface of the library must compile,
// override and link unchanged. Each pointer below has the exact type of a
// published function (const-ness, static-ness and parameter types included),
// so a declaration that drifts breaks this file before it breaks an
// application.
#include <Lum/ObjectModel.h>

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

namespace
{

using Lum::KnxConverter;
using Lum::KnxValueConverter;
using GV = KnxStack::GroupValue;
using LD = Lum::LogicalDeviceId;
using PT = Lum::ParameterType;
namespace Pel = Lum::KnxPelMapping;

// A converter as an application writes one against the published interface.
class AppConverter final : public KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT&, const ORUVALUE& value, GV& group) override
    {
        group.SetAsUnsigned8(value.GetByte());
        return true;
    }
    bool FromKnxValue(const KNXDPT&, const GV& group, ORUVALUE& value) override
    {
        value.SetByte(static_cast<std::uint8_t>(group.GetAsUnsigned8() ^ 0xFFu));
        return true;
    }
    KnxConverter* Clone() const override { return new AppConverter(*this); }
};

// Selecting the function with a cast to the published type compiles only when a declaration of
// exactly that type exists.
#define LUM_BINDS(function, ...)                                                                             \
    static_assert(std::is_same_v<decltype(static_cast<__VA_ARGS__>(function)), __VA_ARGS__>,                 \
                  #function " has its published type")

// Converter interface.
LUM_BINDS(&KnxConverter::ToKnxValue, bool (KnxConverter::*)(const KNXDPT&, const ORUVALUE&, GV&));
LUM_BINDS(&KnxConverter::FromKnxValue, bool (KnxConverter::*)(const KNXDPT&, const GV&, ORUVALUE&));
LUM_BINDS(&KnxConverter::Clone, KnxConverter* (KnxConverter::*)() const);
LUM_BINDS(&Lum::IntegerRange::CalculateScaleFactor, void (Lum::IntegerRange::*)());
LUM_BINDS(&Lum::LongIntegerRange::CalculateScaleFactor, void (Lum::LongIntegerRange::*)());
LUM_BINDS(&Lum::FloatIntegerRange::CalculateScaleFactor, void (Lum::FloatIntegerRange::*)());
LUM_BINDS(&Lum::FloatRange::CalculateScaleFactor, void (Lum::FloatRange::*)());

// Converter facade and its map.
LUM_BINDS(&KnxValueConverter::Init, bool (KnxValueConverter::*)());
LUM_BINDS(&KnxValueConverter::ToKnxValue, bool (KnxValueConverter::*)(KNXDPT&, const ORUVALUE&, GV&));
LUM_BINDS(&KnxValueConverter::FromKnxValue, bool (KnxValueConverter::*)(KNXDPT&, const GV&, ORUVALUE&));
LUM_BINDS(&KnxValueConverter::AreValueTypesCompatible,
          bool (KnxValueConverter::*)(OruValueType, OruValueType));
LUM_BINDS(&KnxValueConverter::GetDefaultMappingDptForSize, bool (KnxValueConverter::*)(KNXDPT&));
LUM_BINDS(&KnxValueConverter::GetDefaultMappingDptForValueType,
          bool (KnxValueConverter::*)(KNXDPT&, const ORUVALUE&));
LUM_BINDS(&KnxValueConverter::GetEntry,
          const Lum::DptValueEntry& (KnxValueConverter::*)(const KNXDPT&) const);
LUM_BINDS(&KnxValueConverter::AddDptValueMapEntry,
          bool (KnxValueConverter::*)(unsigned short, unsigned short, unsigned char, OruValueType,
                                      OruDP::OruValueSubType, const KnxConverter&));
LUM_BINDS(&KnxValueConverter::FillDptValueMap, bool (KnxValueConverter::*)());
LUM_BINDS(&Lum::DptValueMap::Add, bool (Lum::DptValueMap::*)(const KNXDPT&, const Lum::DptValueEntry&));
LUM_BINDS(&Lum::DptValueMap::GetEntry, const Lum::DptValueEntry& (Lum::DptValueMap::*)(const KNXDPT&) const);
LUM_BINDS(&Lum::DptValueMap::Clear, void (Lum::DptValueMap::*)());

// String-form converter.
using LKVC = Lum::LumKnxValueConverter;
LUM_BINDS(&LKVC::Init, bool (LKVC::*)());
LUM_BINDS(&LKVC::ToKnxValue, bool (LKVC::*)(KNXDPT&, const ORUVALUE&, GV&));
LUM_BINDS(&LKVC::FromKnxValue, bool (LKVC::*)(KNXDPT&, const GV&, ORUVALUE&));
LUM_BINDS(&LKVC::ToKnxValue, bool (LKVC::*)(KNXDPT&, const std::string&, GV&));
LUM_BINDS(&LKVC::ToKnxValue, bool (LKVC::*)(const std::string&, unsigned long, GV&));
LUM_BINDS(&LKVC::FromKnxValue, bool (LKVC::*)(const GV&, std::string&, bool));

// Identifier scheme and value types by DPT.
LUM_BINDS(&Pel::GetDeviceObjModelId, unsigned long (*)());
LUM_BINDS(&Pel::GetKnxDeviceObjModelId, unsigned long (*)());
LUM_BINDS(&Pel::GetLogicalKnxDeviceObjModelId, unsigned long (*)(LD));
LUM_BINDS(&Pel::GetAppHostAppControlChannelObjModelId, unsigned long (*)(LD));
LUM_BINDS(&Pel::GetAppHostAppControlStateObjModelId, unsigned long (*)(LD));
LUM_BINDS(&Pel::GetAppHostAppControlEventObjModelId, unsigned long (*)(LD));
LUM_BINDS(&Pel::GetAppHostAppControlAliveObjModelId, unsigned long (*)(LD));
LUM_BINDS(&Pel::GetAppHostAppControlAppDebugObjModelId, unsigned long (*)(LD));
LUM_BINDS(&Pel::GetMaxParametersOfType, unsigned long (*)(PT));
LUM_BINDS(&Pel::GetParameterChannelObjModelId, boost::optional<unsigned long> (*)(unsigned short, LD, PT));
LUM_BINDS(&Pel::GetParameterValueObjModelId, boost::optional<unsigned long> (*)(unsigned short, LD, PT));
LUM_BINDS(&Pel::GetParameterValueObjModelId, boost::optional<unsigned long> (*)(unsigned long));
LUM_BINDS(&Pel::GetIpParameterValueObjModelId, boost::optional<unsigned long> (*)(unsigned short, LD));
LUM_BINDS(&Pel::GetNumberParameterValueObjModelId, boost::optional<unsigned long> (*)(unsigned short, LD));
LUM_BINDS(&Pel::GetTextParameterValueObjModelId, boost::optional<unsigned long> (*)(unsigned short, LD));
LUM_BINDS(&Pel::GetCoChannelObjModelId, boost::optional<unsigned long> (*)(unsigned short, LD));
LUM_BINDS(&Pel::GetCoValueObjModelId, boost::optional<unsigned long> (*)(unsigned long));
LUM_BINDS(&Pel::GetCoValueObjModelId, boost::optional<unsigned long> (*)(unsigned short, LD));
LUM_BINDS(&Pel::IsAnyLogicalKnxDeviceId, bool (*)(unsigned long));
LUM_BINDS(&Pel::IsCoChannel, bool (*)(unsigned long));
LUM_BINDS(&Pel::IsCoValue, bool (*)(unsigned long));
LUM_BINDS(&Pel::IsAppHostAppControlState, bool (*)(unsigned long, LD));
LUM_BINDS(&Pel::IsAppHostAppControlEvent, bool (*)(unsigned long, LD));
LUM_BINDS(&Pel::IsAppHostAppControlAliveHeartbeat, bool (*)(unsigned long, LD));
LUM_BINDS(&Pel::IsAppHostAppControlAppDebug, bool (*)(unsigned long, LD));
LUM_BINDS(&Pel::IsParameterChannel, bool (*)(unsigned long));
LUM_BINDS(&Pel::GetLogicalDeviceIdFromObject, boost::optional<LD> (*)(unsigned long));
LUM_BINDS(&Pel::GetParameterTypeFromObjModelId, boost::optional<PT> (*)(unsigned long, LD));
LUM_BINDS(&Pel::GetParameterNumberFromObjModelId, boost::optional<unsigned char> (*)(unsigned long, LD));
LUM_BINDS(&Pel::GetCoNumberFromObjModelId, boost::optional<unsigned short> (*)(unsigned long, LD));
LUM_BINDS(&Pel::GetIvtFromMainType, std::string (*)(unsigned long));
LUM_BINDS(&Pel::GetIstFromMainType, std::string (*)(unsigned long));
LUM_BINDS(&Pel::GetIvtFromDpt, OruValueType (*)(unsigned int));
LUM_BINDS(&Pel::GetDefaultValueFromDpt, boost::optional<std::string> (*)(unsigned long, bool));

// Group values by packed DPT, text and time helpers.
LUM_BINDS(&Lum::OruValueToGroupValue, boost::optional<GV> (*)(const ORUVALUE&, unsigned long));
LUM_BINDS(&Lum::CheckGroupValue, bool (*)(const GV&, unsigned long));
LUM_BINDS(&Lum::GroupValueToOruValue, boost::optional<ORUVALUE> (*)(const GV&, unsigned long));
LUM_BINDS(&Lum::RepairUTF8, Lum::UTF8String (*)(std::string));
LUM_BINDS(&Lum::ToOruValue<double>, ORUVALUE (*)(const double&, OruValueType));
LUM_BINDS(&Lum::ToOruValue<unsigned char>, ORUVALUE (*)(const unsigned char&, OruValueType));
LUM_BINDS(&Lum::ToOruValue, ORUVALUE (*)(const boost::posix_time::ptime&, OruValueType));
LUM_BINDS(&LumApp::FromOruTime, boost::optional<LumApp::TimeOfDay> (*)(const ORUTIME&));
LUM_BINDS(&LumApp::ToOruWeekday, OruWeekDays::WEEK_DAY_TYPES (*)(LumApp::DayOfWeek));
LUM_BINDS(&Lum::UndefinedBehaviourIfNone<int>, int (*)(boost::optional<int>));

// Device-stack requests.
using RMDS = Lum::RequestMessengerDeviceStack;
LUM_BINDS(&RMDS::SetResponseHandler, void (RMDS::*)(Tarn::IDeviceStackClient::IResponseHandler*));
LUM_BINDS(&RMDS::RegisterApplicationAsync,
          std::string (RMDS::*)(const std::string&, const std::string&, const std::string&));
LUM_BINDS(&RMDS::SetValueAsync, std::string (RMDS::*)(unsigned long, const ORUVALUE&, bool));
LUM_BINDS(&RMDS::GetValueAsync, std::string (RMDS::*)(unsigned long, bool));
LUM_BINDS(&RMDS::RequestAsync, std::string (RMDS::*)(const std::string&));
LUM_BINDS(&RMDS::SetConfigurationAsync, std::string (RMDS::*)(const std::string&));
LUM_BINDS(&RMDS::EnableInternalValueFormat, void (RMDS::*)());
LUM_BINDS(&RMDS::EnableDefaultValueFormat, void (RMDS::*)());
using Messenger = Lum::DscAsyncRequestMessenger;
LUM_BINDS(&Messenger::SetAsResponseHandler, void (Messenger::*)());
LUM_BINDS(&Messenger::UnsetAsResponseHandler, void (Messenger::*)());
LUM_BINDS(&Messenger::RegisterApplication,
          Lum::Docket (Messenger::*)(const std::string&, const std::string&, const std::string&));
LUM_BINDS(&Messenger::SetValue, Lum::Docket (Messenger::*)(unsigned long, const ORUVALUE&, bool));
LUM_BINDS(&Messenger::GetValue, Lum::Docket (Messenger::*)(unsigned long, bool));
LUM_BINDS(&Messenger::Request,
          Lum::Docket (Messenger::*)(const std::string&, boost::posix_time::time_duration));
LUM_BINDS(&Messenger::SetConfiguration,
          Lum::Docket (Messenger::*)(const std::string&, boost::posix_time::time_duration,
                                     const Lum::BoolReader&));
LUM_BINDS(&Messenger::SetValueAndIgnoreResponse, bool (Messenger::*)(unsigned long, const ORUVALUE&, bool));
LUM_BINDS(&Lum::Docket::IsReplyValid, bool (Lum::Docket::*)() const);
LUM_BINDS(&Lum::Docket::IsAnswered, bool (Lum::Docket::*)() const);
LUM_BINDS(&Lum::Docket::ReadReply, const std::string& (Lum::Docket::*)() const);
LUM_BINDS(&Lum::Docket::ReadDeliveryError, const std::string& (Lum::Docket::*)() const);

// App host configuration.
using Config = Lum::AppHostConfiguration;
LUM_BINDS(&Config::LoadConfigurationFile, void (Config::*)());
LUM_BINDS(&Config::LoadAppHostConfigXML, bool (Config::*)(char*));
LUM_BINDS(&Config::IsInAppDebugMode, bool (Config::*)() const);
LUM_BINDS(&Config::IsAppHostStartupDisabled, bool (Config::*)() const);
LUM_BINDS(&Config::IsAppConnectorHostStartupDisabled, bool (Config::*)() const);
LUM_BINDS(&Config::IsAppHostWithoutKNX, bool (Config::*)() const);
LUM_BINDS(&Config::IsAppHostTerminateOnFirmwareUpdate, bool (Config::*)() const);
LUM_BINDS(&Config::SetAppDebugMode, void (Config::*)(bool));
LUM_BINDS(&Config::ReplaceAppDebugMode, bool (Config::*)(bool));
LUM_BINDS(&Config::SetAppHostStartupDisabled, void (Config::*)(bool));
LUM_BINDS(&Config::SetAppConnectorHostStartupDisabled, bool (Config::*)(bool));
LUM_BINDS(&Lum::LoadFile, boost::optional<std::vector<char>> (*)(const std::string&));

// The application's converter takes part in conversions through the facade, from a map entry's
// own copy of it.
TEST(PublishedInterface, AnApplicationsConverterServesTheFacade)
{
    KnxValueConverter converter;
    ASSERT_TRUE(converter.AddDptValueMapEntry(5, 1, 8, ivtByte, OruDP::OruValueSubType(0), AppConverter()));
    KNXDPT dpt;
    dpt.mainNumber = 5;
    dpt.subNumber = 1;
    dpt.bitSize = 8;
    GV group;
    ASSERT_TRUE(converter.ToKnxValue(dpt, ORUVALUE::FromByte(0x5A), group));
    EXPECT_EQ(0x5A, group.GetAsUnsigned8());
    ORUVALUE back;
    GV received;
    received.SetAsUnsigned8(0x0F);
    ASSERT_TRUE(converter.FromKnxValue(dpt, received, back));
    EXPECT_EQ(ORUVALUE::FromByte(0xF0), back);
    const KnxValueConverter& shared = converter; // the const overloads give the same results
    ASSERT_TRUE(shared.FromKnxValue(dpt, received, back));
    EXPECT_EQ(ORUVALUE::FromByte(0xF0), back);
}

} // namespace
