// (c) the ztrace developers. Licence: see LICENSE.
#ifndef ZBOX_H
#define ZBOX_H

class ZBox
{
};

#endif
