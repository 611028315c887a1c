#pragma once

// Resource identifiers of the library. Language files name texts by them: they never change.

// Cursors of the map tools.
#define IDC_TERRASCOPE_ARROW 104
#define IDC_TERRASCOPE_PAN 7000
#define IDC_TERRASCOPE_ZOOM_IN 7001
#define IDC_TERRASCOPE_ZOOM_OUT 7002

// The map selection dialog and its controls.
#define IDD_TILE_MAP_SEL 7007
#define IDC_MAP_LIST 7002
#define IDC_MAP_INFO 7012
#define IDC_FIRST_LAYER_SCALE 7013
#define IDC_MAP_LIST_LABEL 7014
#define IDC_SCALE_LABEL 7015
#define IDC_MAP_INFO_LABEL 7016

// Texts of the map selection dialog.
#define IDS_COLUMN_NUMBER 1009
#define IDS_COLUMN_NAME 1010
#define IDS_COLUMN_LAYER_COUNT 1011
#define IDS_INFO_HEADING 1014
#define IDS_INFO_NAME 1015
#define IDS_INFO_UPDATE_TIME 1016
#define IDS_INFO_TILE_FORMAT 1017
#define IDS_INFO_LAYER_COUNT 1018
#define IDS_INFO_FIRST_LAYER 1019
#define IDS_INFO_LONGITUDE_START 1020
#define IDS_INFO_LATITUDE_START 1021
#define IDS_INFO_LONGITUDE 1022
#define IDS_INFO_LATITUDE 1023
#define IDS_INFO_TILE_WIDTH 1024
#define IDS_INFO_TILE_HEIGHT 1025
#define IDS_INFO_REMARK 1026
#define IDS_LAYERS_HEADING 1027
#define IDS_LAYER_TILES_X 1029
#define IDS_LAYER_TILES_Y 1030
