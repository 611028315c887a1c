#pragma once

// Resource and command identifiers of the viewer.
#define IDR_MAIN 100
#define IDD_ABOUT 101
#define IDD_OPEN_ADDRESS 102

#define IDC_ABOUT_NAME 1001
#define IDC_ABOUT_LOGS 1002
#define IDC_ADDRESS 1003

#define ID_MAP_VIEW 2001
#define ID_STATUS 2002
#define ID_TOOLS 2003

#define ID_FILE_OPEN_MAPS 3001
#define ID_MAP_CHOOSE 3002
#define ID_MAP_EXIT 3003
#define ID_APP_INFO 3004
#define ID_FILE_OPEN_ADDRESS 3005

// In the order of the tool kinds.
#define ID_TOOL_ARROW 3010
#define ID_TOOL_ZOOM_IN 3011
#define ID_TOOL_ZOOM_OUT 3012
#define ID_TOOL_PAN 3013

#define ID_LAYER_FINER 3020
#define ID_LAYER_COARSER 3021
#define ID_LAYER_WHOLE 3022
