// Lists serial ports from a made folder in the form of /sys/class/tty.
#include "program/port/PortList.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

class PortListTest : public testing::Test {
protected:
    void SetUp() override
    {
        std::string name = (fs::temp_directory_path() / "ports-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        m_folder = name;
        fs::create_directories(m_folder / "class");
    }
    void TearDown() override { fs::remove_all(m_folder); }

    void write(const std::string& file, const std::string& text)
    {
        fs::create_directories((m_folder / file).parent_path());
        std::ofstream(m_folder / file) << text;
    }
    void link(const std::string& file, const std::string& target)
    {
        fs::create_directories((m_folder / file).parent_path());
        fs::create_directories(m_folder / target);
        fs::create_symlink(m_folder / target, m_folder / file);
    }
    // A terminal whose device is a folder below "devices".
    void addTerminal(const std::string& name, const std::string& device)
    {
        link("class/" + name + "/device", "devices/" + device);
    }
    std::string list() const
    {
        std::string text;
        for (const ListedPort& port : listPorts(m_folder / "class")) {
            text += port.path + ": " + port.words + "\n";
        }
        return text;
    }

    fs::path m_folder;
};

// A list that has consoles and ports without hardware, or lacks what tells two adapters apart.
TEST_F(PortListTest, HasThePortsWithHardware)
{
    for (const char* const console : {"tty", "tty1", "console", "ptmx"}) {
        fs::create_directories(m_folder / "class" / console);
    }
    addTerminal("ttyS0", "pnp0/00:00/00:00:0/00:00:0.0");
    write("class/ttyS0/type", "4\n");
    link("devices/pnp0/00:00/00:00:0/00:00:0.0/driver", "bus/serial-base/drivers/port");
    link("devices/pnp0/00:00/driver", "bus/pnp/drivers/serial");
    addTerminal("ttyS1", "platform/serial8250");
    write("class/ttyS1/type", "0\n");
    addTerminal("ttyUSB10", "usb/1-1/1-1:1.0/ttyUSB10");
    addTerminal("ttyUSB2", "usb/1-2/1-2:1.0/ttyUSB2");
    link("devices/usb/1-1/1-1:1.0/ttyUSB10/driver", "bus/usb-serial/drivers/ftdi_sio");
    link("devices/usb/1-1/1-1:1.0/driver", "bus/usb/drivers/other");
    write("devices/usb/1-1/product", "Cable \x1B[2J\n");
    write("devices/usb/1-1/manufacturer", "Maker\n");
    write("devices/usb/1-2/product", "Display\n");
    addTerminal("ttyX0", "plain");
    EXPECT_EQ(list(), "/dev/ttyS0: driver serial\n"
                      "/dev/ttyUSB2: Display\n"
                      "/dev/ttyUSB10: Maker Cable ?[2J, driver ftdi_sio\n"
                      "/dev/ttyX0: \n");
}

TEST_F(PortListTest, IsEmptyWithoutPorts)
{
    EXPECT_EQ(list(), "");
    fs::remove_all(m_folder / "class");
    EXPECT_EQ(list(), "");
}

}  // namespace
