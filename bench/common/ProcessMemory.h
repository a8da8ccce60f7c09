#pragma once

// This process's memory as the kernel counts it: the resident set now (VmRSS) and at its
// highest so far (VmHWM), from /proc/self/status. Zero where there is no such file.
#include <QFile>

struct ProcessMemory {
    double rssMB = 0;
    double peakMB = 0;

    static ProcessMemory now()
    {
        ProcessMemory m;
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly))
            return m;
        for (const QByteArray &line : status.readAll().split('\n')) {
            // "VmRSS:	  123456 kB"
            auto kilobytes = [&line](const char *key) {
                return line.mid(qsizetype(qstrlen(key))).trimmed().split(' ').value(0).toDouble();
            };
            if (line.startsWith("VmRSS:"))
                m.rssMB = kilobytes("VmRSS:") / 1024;
            else if (line.startsWith("VmHWM:"))
                m.peakMB = kilobytes("VmHWM:") / 1024;
        }
        return m;
    }
};
