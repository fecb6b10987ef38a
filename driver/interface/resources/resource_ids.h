/* The identifiers of the module's resources. Plain preprocessor lines, because the resource compiler reads them too.
   Identifiers are the same in every language; one that goes out of use stays here, named as unused. */
#ifndef R5LQZ_RESOURCE_IDS_H
#define R5LQZ_RESOURCE_IDS_H

#ifndef IDC_STATIC
#define IDC_STATIC (-1)
#endif

/* Bitmaps */
#define IDB_STRIP 138   /* 126 x 30 pixels, at the lower left of every tab */
#define IDB_PICTURE 191 /* 242 x 371 pixels, at the right of the document tabs */

/* Dialog templates: tabs */
#define IDD_DEVICE_TAB 128
#define IDD_PAGE_TAB 142
#define IDD_LAYOUT_TAB 143
#define IDD_COLOR_TAB 144
#define IDD_ABOUT_TAB 146

/* Dialog templates: dialogs */
#define IDD_MANAGE_PAGES 147
#define IDD_CUSTOM_PAGE 192

/* Page tab. Some of its control identifiers occur on the Color tab too, for other controls. */
#define IDC_PAGE_LABELS 1098
#define IDC_PAGE_GROUP 1100
#define IDC_PAGE_MANAGE 1101
#define IDC_PAGE_DETAILS_CAPTION 1102
#define IDC_PAGE_DETAILS 1103
#define IDC_PAGE_EDIT_CUSTOM 1218

/* Layout tab; the copy controls are hidden */
#define IDC_LAYOUT_GROUP 1127
#define IDC_LAYOUT_PORTRAIT 1128
#define IDC_LAYOUT_LANDSCAPE 1129
#define IDC_LAYOUT_ROTATE 1130
#define IDC_LAYOUT_MIRROR 1131
#define IDC_LAYOUT_COPIES_GROUP 1132
#define IDC_LAYOUT_COPIES 1133
#define IDC_LAYOUT_COPIES_SPIN 1134
#define IDC_LAYOUT_DRIVER_COPIES 1198

/* Color tab, titled "Appearance" */
#define IDC_COLOR_INTENT 1098
#define IDC_COLOR_QUALITY 1099
#define IDC_COLOR_PROFILE 1100
#define IDC_COLOR_AUTOMATIC 1148
#define IDC_COLOR_APPLICATION 1149

/* Device tab */
#define IDC_DEVICE_PRODUCT 1135
#define IDC_DEVICE_VERSION_CAPTION 1136
#define IDC_DEVICE_NOTICE 1137
#define IDC_DEVICE_VERSION 1138
#define IDC_DEVICE_BUFFER 1262

/* About tab */
#define IDC_ABOUT_PRODUCT 1139
#define IDC_ABOUT_VERSION 1140
#define IDC_ABOUT_VERSION_CAPTION 1141
#define IDC_ABOUT_NOTICE 1142

/* Manage Pages dialog */
#define IDC_MANAGE_LABELS 1106
#define IDC_MANAGE_ADD 1107
#define IDC_MANAGE_DELETE 1108
#define IDC_MANAGE_LENGTH 1110
#define IDC_MANAGE_LENGTH_CAPTION 1112
#define IDC_MANAGE_IMPORT 1118
#define IDC_MANAGE_EXPORT 1119
#define IDC_MANAGE_NAME_CAPTION 1120
#define IDC_MANAGE_NAME 1121
#define IDC_MANAGE_MODIFY 1122
#define IDC_MANAGE_MM 1124
#define IDC_MANAGE_INCHES 1125
#define IDC_MANAGE_LENGTH_RANGE 1147
#define IDC_MANAGE_WIDTH_CAPTION 1192
#define IDC_MANAGE_WIDTH 1193
#define IDC_MANAGE_WIDTH_RANGE 1194
#define IDC_MANAGE_VERT 1211
#define IDC_MANAGE_VERT_SPIN 1212
#define IDC_MANAGE_HORZ 1213
#define IDC_MANAGE_HORZ_SPIN 1214
#define IDC_MANAGE_VERT_READOUT 1216
#define IDC_MANAGE_HORZ_READOUT 1217

/* Custom Page dialog */
#define IDC_CUSTOM_WIDTH_RANGE 1221
#define IDC_CUSTOM_WIDTH 1222
#define IDC_CUSTOM_WIDTH_CAPTION 1223
#define IDC_CUSTOM_LENGTH_RANGE 1226
#define IDC_CUSTOM_LENGTH 1227
#define IDC_CUSTOM_INCHES 1228
#define IDC_CUSTOM_MM 1229
#define IDC_CUSTOM_VERT 1242
#define IDC_CUSTOM_VERT_READOUT 1243
#define IDC_CUSTOM_HORZ 1244
#define IDC_CUSTOM_HORZ_READOUT 1245
#define IDC_CUSTOM_LENGTH_CAPTION 1247
#define IDC_CUSTOM_HORZ_SPIN 1253
#define IDC_CUSTOM_VERT_SPIN 1254

/* Strings: messages */
#define IDS_TOO_MANY_PAGES 108
#define IDS_INVALID_WIDTH 109
#define IDS_INVALID_LENGTH 110
#define IDS_ERROR 114
#define IDS_VALID_RANGE 115
#define IDS_INVALID_COPIES 116
#define IDS_NAME_MISSING 117
#define IDS_NAME_USED 118
#define IDS_ADD_FAILED 125
#define IDS_MODIFY_FAILED 126
#define IDS_DELETE_FAILED 127
#define IDS_NAME_TOO_LONG 128
#define IDS_INVALID_OFFSET 199

/* Strings: details of a page, units */
#define IDS_WIDTH 129
#define IDS_LENGTH 131
#define IDS_VERTICAL_OFFSET 137
#define IDS_HORIZONTAL_OFFSET 138
#define IDS_MM 165
#define IDS_INCHES 166

/* Strings: print qualities, rendering intents */
#define IDS_QUALITY_NORMAL 112
#define IDS_QUALITY_FAST 154
#define IDS_QUALITY_BEST 155
#define IDS_INTENT_PERCEPTUAL 141
#define IDS_INTENT_RELATIVE 142
#define IDS_INTENT_ABSOLUTE 143
#define IDS_INTENT_SATURATION 144

/* Strings: titles of the tabs */
#define IDS_TAB_ABOUT 145
#define IDS_TAB_COLOR 146
#define IDS_TAB_DEVICE 147
#define IDS_TAB_PAGE 149
#define IDS_TAB_LAYOUT 150

/* The two-letter code of the language that the other strings are in */
#define IDS_LANGUAGE 195

#endif
