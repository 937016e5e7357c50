#include "core/errors/Environment.h"

#include "mdb/FileSystem.h"

BusyIndicator& Environment::noBusyIndicator()
{
    static NoBusyIndicator indicator;
    return indicator;
}

mdb::FileSystem& Environment::diskFiles()
{
    static mdb::DiskFileSystem files;
    return files;
}
