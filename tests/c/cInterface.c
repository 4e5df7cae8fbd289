/*
 * The library as a C program sees it: every public header, and one conversion.
 *
 *     c_interface FILE
 *
 * Projects FILE, an image of Himawari band 13, on a small map of longitudes and latitudes and
 * prints its cells, a row a line; 0 when all went well.
 */
#include "nimbl.h"

#include <stdio.h>
#include <string.h>

enum { columns = 5, rows = 2 };

/* Longitudes 120, 160, ... 280 E at latitudes 20 N and 20 S. */
static NbProjPara map(void)
{
    NbProjPara para;
    memset(&para, 0, sizeof para);
    para.prjType = NB_PROJ_GRID;
    para.baseX = 0;
    para.baseY = 0;
    para.baseLon = 120;
    para.baseLat = 20;
    para.stepX = 40;
    para.stepY = 40;
    para.xNum = columns;
    para.yNum = rows;
    para.roughX = 1;
    para.roughY = 1;
    return para;
}

static int convert(NbSatObject* object)
{
    NbProjPara para = map();
    int16_t out[columns * rows];
    int x, y;

    if (nbSatSetElems(object, "B13_T") != 20001) return 3;
    /* Levels are kelvins above 100. */
    if (nbSatSetLutByBiasScale(object, 100, 1, 256, -1) != 0) return 4;
    if (nbSatGetI2ProjData(object, &para, out, NB_OVERLAP_FIRST, 0, NULL, NULL) < 0) return 5;
    for (y = 0; y < rows; ++y)
        for (x = 0; x < columns; ++x)
            printf("%d%c", out[y * columns + x], x + 1 < columns ? ' ' : '\n');
    return 0;
}

int main(int argc, char** argv)
{
    NbSatObject object;
    int code;

    if (argc != 2) {
        fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 1;
    }
    memset(&object, 0, sizeof object);
    if (nbSatOpenObject(&object, argv[1]) != 0) return 2;
    code = convert(&object);
    nbSatCloseObject(&object);
    return code;
}
