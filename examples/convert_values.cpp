// Converts a few values to KNX group values and reads them back.
#include <Lum/KnxValueConverter.h>
#include <Platform/KnxStack.h>
#include <Platform/Logging.h>
#include <Platform/OruValue.h>

#include <log4cplus/consoleappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace
{

struct Sample
{
    const char* what;
    KNXDPT dpt;
    ORUVALUE value;
};

KNXDPT Dpt(std::uint16_t main, std::uint16_t sub)
{
    KNXDPT dpt;
    dpt.mainNumber = main;
    dpt.subNumber = sub;
    return dpt;
}

ORUVALUE Date(unsigned short year, unsigned char month, unsigned char day)
{
    ORUTIME t;
    t.Clear(true);
    t.SetDate(year, month, day, true);
    return ORUVALUE::FromTime(ivtDate, t);
}

std::string Text(const ORUVALUE& value)
{
    const char* text = value.ToString();
    return text ? text : "?";
}

void ConfigureLogging()
{
    log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(true));
    console->setLayout(std::make_unique<log4cplus::PatternLayout>("%-5p %m%n"));
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    root.addAppender(console);
    root.setLogLevel(log4cplus::WARN_LOG_LEVEL);
    log4cplus::Logger library = Lum::GetGlobalDefaultLogger();
    library.setLogLevel(log4cplus::WARN_LOG_LEVEL);
}

} // namespace

int main()
{
    log4cplus::Initializer initializer;
    ConfigureLogging();

    Lum::KnxValueConverter converter;
    converter.Init();

    const std::vector<Sample> samples = {
        {"temperature", Dpt(9, 1), ORUVALUE::FromFloat(21.5)},
        {"switch", Dpt(1, 1), ORUVALUE::FromBool(true)},
        {"percentage (raw byte)", Dpt(5, 1), ORUVALUE::FromByte(100)},
        {"text", Dpt(16, 1), ORUVALUE::FromString("KNX is OK")},
        {"date", Dpt(11, 1), Date(2024, 5, 17)},
    };

    int failures = 0;
    for (const Sample& sample : samples)
    {
        KNXDPT dpt = sample.dpt;
        KnxStack::GroupValue bus;
        if (!converter.ToKnxValue(dpt, sample.value, bus))
        {
            std::cout << sample.what << ": cannot be sent\n";
            ++failures;
            continue;
        }
        ORUVALUE back;
        KNXDPT readDpt = dpt;
        const bool read = converter.FromKnxValue(readDpt, bus, back);
        std::cout << "DPT " << dpt.mainNumber << '.' << dpt.subNumber << "  " << sample.what << " "
                  << Text(sample.value) << "  -> bus [" << bus.GetRawData().ToString() << "] ("
                  << bus.GetDefinedSize() << " bits)  -> " << (read ? Text(back) : std::string("unreadable"))
                  << '\n';
        failures += read ? 0 : 1;
    }
    return failures == 0 ? 0 : 1;
}
