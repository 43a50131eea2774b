// (c) the ztrace developers. Licence: see LICENSE.
//
// Numbers by word: a hash table for colours that come in runs.
#ifndef ZTRACE_IMAGING_WORDTABLE_H
#define ZTRACE_IMAGING_WORDTABLE_H

#include <QRgb>

#include <cstdint>
#include <vector>

namespace ztrace {

// Open addressing with linear probing, at most half full. The numbers are 0 for words that have
// none; a number that has been set is never 0. No word is ever taken out.
class WordTable
{
public:
    WordTable() : table(kLeastTable) { }

    // 0 for a word without a number.
    uint32_t of(QRgb word) const { return table[placeOf(word)].number; }

    void set(QRgb word, uint32_t number)
    {
        Slot &slot = table[placeOf(word)];
        const bool isNew = slot.number == 0;
        slot = { word, number };
        if (isNew && ++used * 2 > table.size())
            grow();
    }

private:
    struct Slot
    {
        QRgb word = 0;
        uint32_t number = 0;
    };

    static const std::size_t kLeastTable = 1024; // a power of two, as every size of the table

    std::size_t placeOf(QRgb word) const
    {
        const std::size_t mask = table.size() - 1;
        std::size_t place = (word * 0x9E3779B1u >> 8) & mask; // 2^32 over the golden ratio
        while (table[place].number != 0 && table[place].word != word)
            place = (place + 1) & mask;
        return place;
    }

    void grow()
    {
        std::vector<Slot> old(2 * table.size());
        old.swap(table);
        for (const Slot &slot : old) {
            if (slot.number != 0)
                table[placeOf(slot.word)] = slot;
        }
    }

    std::vector<Slot> table;
    std::size_t used = 0;
};

} // namespace ztrace

#endif
