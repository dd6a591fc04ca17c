#pragma once

/// @file
/// @brief Every public header of the object-model library and of the platform it uses.

#include <Lum/AppHostConfig.h>
#include <Lum/Docket.h>
#include <Lum/DscAsyncRequestMessenger.h>
#include <Lum/Export.h>
#include <Lum/Function.h>
#include <Lum/GroupValueOruValue.h>
#include <Lum/KnxConverter.h>
#include <Lum/KnxConverterBitField.h>
#include <Lum/KnxConverterDateTime.h>
#include <Lum/KnxConverterFloat.h>
#include <Lum/KnxConverterInteger.h>
#include <Lum/KnxConverterRange.h>
#include <Lum/KnxConverterScene.h>
#include <Lum/KnxConverterString.h>
#include <Lum/KnxPelMapping.h>
#include <Lum/KnxValueConverter.h>
#include <Lum/LoadFile.h>
#include <Lum/LumKnxValueConverter.h>
#include <Lum/MeasureDuration.h>
#include <Lum/OruValueHelper.h>
#include <Lum/RequestMessengerDeviceStack.h>
#include <Lum/TimeOfDay.h>
#include <Lum/Unreachable.h>
#include <Platform/BoundedInt.h>
#include <Platform/DeviceStackClient.h>
#include <Platform/Export.h>
#include <Platform/KnxStack.h>
#include <Platform/Logging.h>
#include <Platform/OruValue.h>
#include <Platform/Text.h>
#include <Platform/TimeOfDay.h>
