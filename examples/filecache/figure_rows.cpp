#include "figure_rows.h"

#include <U_Alloc.h>
#include <U_Budget.h>

#include "message.h"

namespace
{
void AddMemory(const LoadFigures& figures, const FileCache& cache, Table* table)
{
    U_u64 prepurge = 0;
    U_u64 maximum = 0;
    U_GetMemUsageLimits(&prepurge, &maximum);
    table->AddCount("files_held", Text("$$$/QX/FileCache/Figure/FilesHeld=files held"),
                    cache.FilesHeld());
    table->AddBytes("bytes_held", Text("$$$/QX/FileCache/Figure/BytesHeld=bytes held"),
                    cache.BytesHeld());
    table->AddBytes("peak_use", Text("$$$/QX/FileCache/Figure/PeakUse=peak use"), figures.peakUse);
    table->AddBytes("prepurge_limit", Text("$$$/QX/FileCache/Figure/PrepurgeLimit=prepurge limit"),
                    prepurge);
    table->AddBytes("maximum_limit", Text("$$$/QX/FileCache/Figure/MaximumLimit=maximum limit"),
                    maximum);
    table->AddCount("purge_requests", Text("$$$/QX/FileCache/Figure/PurgeRequests=purge requests"),
                    cache.PurgeRequests());
    table->AddBytes("bytes_purged", Text("$$$/QX/FileCache/Figure/BytesPurged=bytes purged"),
                    cache.BytesPurged());
    table->AddBytes("recycled_pool", Text("$$$/QX/FileCache/Figure/RecycledPool=recycled pool"),
                    U_GetRecycledMemorySize());
}

void AddSpeed(U_u64 bytes, double seconds, Table* table)
{
    const double megabytes = static_cast<double>(bytes) / 1e6;
    table->AddMeasure("time", Text("$$$/QX/FileCache/Figure/Time=time"), seconds, 3,
                      Text("$$$/QX/FileCache/Unit/Seconds=s"));
    table->AddMeasure("speed", Text("$$$/QX/FileCache/Figure/Speed=speed"),
                      seconds > 0 ? megabytes / seconds : 0.0, 1,
                      Text("$$$/QX/FileCache/Unit/MBPerSecond=MB/s"));
}
} // namespace

void AddLoad(const LoadFigures& figures, const FileCache& cache, U_u64 unreadable, double seconds,
             Table* table)
{
    table->AddCount("files_read", Text("$$$/QX/FileCache/Figure/FilesRead=files read"),
                    figures.files);
    table->AddBytes("bytes_read", Text("$$$/QX/FileCache/Figure/BytesRead=bytes read"),
                    figures.bytes);
    table->AddCount("lines_read", Text("$$$/QX/FileCache/Figure/LinesRead=lines read"),
                    figures.lines);
    AddMemory(figures, cache, table);
    table->AddCount("refusals", Text("$$$/QX/FileCache/Figure/Refusals=refusals"),
                    figures.refusals);
    table->AddCount("unreadable", Text("$$$/QX/FileCache/Figure/Unreadable=unreadable"),
                    unreadable);
    table->AddChecksum("checksum", Text("$$$/QX/FileCache/Figure/Checksum=checksum"),
                       figures.checksum);
    AddSpeed(figures.bytes, seconds, table);
}
