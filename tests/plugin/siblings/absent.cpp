// (c) the ztrace developers. Licence: see LICENSE.
//
// A library that a sibling is linked to, and that the loader does not find.
extern "C" int absent_library()
{
    return 0;
}
