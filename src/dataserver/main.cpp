// lumisk-dataserver: serves the files below one directory to lumisk clients.
//   lumisk-dataserver --root DIR --port N --passwordFile F
// Port 0 lets the system choose; the port is printed on the first line of output.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>

#include "util/ChannelAuthorization.h"
#include "util/DataServer.h"

namespace
{

Tavlin::Util::DataServer* gServer = nullptr;

void StopServer(int)
{
    if (gServer)
        gServer->Stop();
}

const char* const sUsage =
    "usage: lumisk-dataserver --root DIR --port N --passwordFile F [options]\n"
    "  --root DIR          directory whose files are served; nothing outside it is\n"
    "  --port N            TCP port (0: any free port, printed at start)\n"
    "  --passwordFile F    two lines, read=<password> and write=<password>\n"
    "  --host ADDR         IPv4 address to listen on (default 127.0.0.1)\n"
    "  --maxSeconds S      end after S seconds (default 0: run until SIGTERM)\n"
    "  --idleTimeout S     close a connection silent for S seconds (default 600)\n"
    "  --maxConnections N  connections served at once (default 128)\n"
    "  --redirect H:P      send every client to the server at H:P\n";

void ConfigureLog()
{
    log4cpp::Appender* appender = new log4cpp::OstreamAppender("console", &std::cerr);
    log4cpp::PatternLayout* layout = new log4cpp::PatternLayout();
    layout->setConversionPattern("%d{%Y-%m-%d %H:%M:%S} %-5p %m%n");
    appender->setLayout(layout);
    log4cpp::Category& root = log4cpp::Category::getRoot();
    root.removeAllAppenders();
    root.addAppender(appender);
    root.setPriority(log4cpp::Priority::INFO);
}

} // namespace

int main(int argc, char** argv)
{
    ConfigureLog();
    Tavlin::Util::DataServerConfig config;
    std::string passwordFile;
    int maxSeconds = 0;
    bool havePort = false;
    for (int i = 1; i < argc; ++i)
    {
        std::string option = argv[i];
        if (i + 1 >= argc || option.compare(0, 2, "--") != 0)
        {
            std::cerr << "unknown or incomplete option " << option << "\n" << sUsage;
            return 1;
        }
        std::string value = argv[++i];
        if (option == "--root")
            config.mRoot = value;
        else if (option == "--port")
        {
            config.mPort = std::atoi(value.c_str());
            havePort = true;
        }
        else if (option == "--passwordFile")
            passwordFile = value;
        else if (option == "--host")
            config.mHost = value;
        else if (option == "--maxSeconds")
            maxSeconds = std::atoi(value.c_str());
        else if (option == "--idleTimeout")
            config.mIdleTimeout = std::atoi(value.c_str());
        else if (option == "--maxConnections")
            config.mMaxConnections = std::atoi(value.c_str());
        else if (option == "--redirect")
            config.mRedirect = value;
        else
        {
            std::cerr << "unknown option " << option << "\n" << sUsage;
            return 1;
        }
    }
    if (config.mRoot.empty() || !havePort || config.mPort < 0 || config.mPort > 65535)
    {
        std::cerr << sUsage;
        return 1;
    }
    Tavlin::Util::ChannelAuthorization authorization(passwordFile);
    if (!authorization.Valid())
        return 1;
    config.mReadPassword = authorization.GetReadPassword();
    config.mWritePassword = authorization.GetWritePassword();

    Tavlin::Util::DataServer server(config);
    if (!server.Start())
        return 1;
    gServer = &server;
    std::signal(SIGTERM, StopServer);
    std::signal(SIGINT, StopServer);
    std::cout << "lumisk-dataserver listening on " << config.mHost << ":" << server.GetPort() << std::endl;
    log4cpp::Category::getInstance("Tavlin.Util.DataServer")
        .info("serving %s on %s:%d", config.mRoot.c_str(), config.mHost.c_str(), server.GetPort());
    server.Run(maxSeconds);
    gServer = nullptr;
    // Connections that did not end in time must not outlive the server object.
    if (server.GetActive() > 0)
    {
        std::cout.flush();
        _exit(0);
    }
    return 0;
}
