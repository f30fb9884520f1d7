// The figures that are printed at the end.

#ifndef FILECACHE_FIGURE_TABLE_H
#define FILECACHE_FIGURE_TABLE_H

#include <string>
#include <vector>

#include <U_Any.h>
#include <U_Types.h>

// Rows of a label and a figure. The figures are aligned in one column, whatever the width of
// the labels. A row's name is for programs and is the same in all languages.
class Table
{
public:
    struct Row
    {
        std::string name;
        std::string label;
        std::string figure; // as shown
        U_Any value;
    };

    void AddCount(const char* name, const std::string& label, U_u64 count);
    void AddBytes(const char* name, const std::string& label, U_u64 bytes); // in MiB too
    void AddChecksum(const char* name, const std::string& label, U_u64 checksum);
    void AddMeasure(const char* name, const std::string& label, double number, int decimals,
                    const std::string& unit);

    bool Empty() const { return mRows.empty(); }
    const std::vector<Row>& Rows() const { return mRows; }

    // Writes the rows to stdout.
    void Print() const;

private:
    std::vector<Row> mRows;
};

#endif
