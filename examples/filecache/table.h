// The figures that are printed at the end.

#ifndef FILECACHE_TABLE_H
#define FILECACHE_TABLE_H

#include <string>
#include <vector>

#include <U_Types.h>

// Rows of a label and a figure. The figures stand below each other, however
// wide the labels are in the language shown.
class Table
{
public:
    void AddCount(const std::string& label, U_u64 count);
    void AddBytes(const std::string& label, U_u64 bytes); // in MiB too
    void AddChecksum(const std::string& label, U_u64 checksum);
    void AddMeasure(const std::string& label, double number, int decimals, const std::string& unit);

    bool Empty() const { return mRows.empty(); }

    // Writes the rows to stdout.
    void Print() const;

private:
    struct Row
    {
        std::string label;
        std::string figure;
    };
    std::vector<Row> mRows;
};

#endif
