// (c) the ztrace developers. Licence: see LICENSE.
//
// A library without a plug-in in it.
extern "C" int no_plugin_here()
{
    return 0;
}
