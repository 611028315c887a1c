/*
 * Shows a view of 1920 x 1080 pixels of tile files with a desktop map control, again and again, and
 * prints the median time from making the control to the frame that shows every tile, in
 * microseconds: peer FOLDER LEFT TOP RUNS. FOLDER holds zoom/column/row.jpg of zoom 5; LEFT and TOP
 * are the view's corner in pixels of that zoom.
 */
#include <gtk/gtk.h>
#include <math.h>
#include <osm-gps-map.h>
#include <stdlib.h>

enum { kWidth = 1920, kHeight = 1080, kTile = 256, kZoom = 5, kWorld = kTile << kZoom };

static const char *folder;
static int left, top, runs, run;
static gint64 start, *times;
static GtkWidget *window, *map;

/* The control's own ground is light grey or white; the tiles are darker and coloured. */
static gboolean is_ground(const guchar *pixel) {
    return pixel[0] == pixel[1] && pixel[1] == pixel[2] && pixel[0] > 220;
}

/* Whether the middle of what is seen of each tile is painted. */
static gboolean is_complete(cairo_t *cairo) {
    cairo_surface_t *target = cairo_get_group_target(cairo);
    double offset_x = 0, offset_y = 0;
    cairo_surface_get_device_offset(target, &offset_x, &offset_y);
    cairo_surface_t *image = cairo_surface_map_to_image(target, NULL);
    const guchar *pixels = cairo_image_surface_get_data(image);
    const int stride = cairo_image_surface_get_stride(image);
    gboolean complete = pixels != NULL;
    for (int y = -(top % kTile); complete && y < kHeight; y += kTile) {
        for (int x = -(left % kTile); complete && x < kWidth; x += kTile) {
            const int from_x = MAX(x, 0), to_x = MIN(x + kTile, kWidth);
            const int from_y = MAX(y, 0), to_y = MIN(y + kTile, kHeight);
            if (to_x - from_x >= 4 && to_y - from_y >= 4) {
                complete = !is_ground(pixels + (from_y + to_y) / 2 * stride + (from_x + to_x) / 2 * 4);
            }
        }
    }
    cairo_surface_unmap_image(target, image);
    return complete;
}

static gboolean show_next(gpointer unused);

static gboolean drawn(GtkWidget *widget, cairo_t *cairo, gpointer unused) {
    (void)widget, (void)unused;
    const gint64 now = g_get_monotonic_time();
    if (start != 0 && is_complete(cairo)) {
        times[run++] = now - start;
        start = 0;
        g_timeout_add(50, show_next, NULL);
    }
    return FALSE;
}

static gboolean show_next(gpointer unused) {
    (void)unused;
    if (map != NULL) {
        gtk_widget_destroy(map);
    }
    if (run == runs) {
        gtk_main_quit();
        return G_SOURCE_REMOVE;
    }
    const double middle_x = left + kWidth / 2.0, middle_y = top + kHeight / 2.0;
    const double longitude = middle_x / kWorld * 360 - 180;
    const double latitude = atan(sinh(G_PI * (1 - 2 * middle_y / kWorld))) * 180 / G_PI;
    start = g_get_monotonic_time();
    map = g_object_new(OSM_TYPE_GPS_MAP, "repo-uri", "http://localhost/#Z/#X/#Y.jpg", "image-format",
                       "jpg", "tile-cache", folder, "auto-download", FALSE, NULL);
    osm_gps_map_set_center_and_zoom(OSM_GPS_MAP(map), (float)latitude, (float)longitude, kZoom);
    g_signal_connect_after(map, "draw", G_CALLBACK(drawn), NULL);
    gtk_container_add(GTK_CONTAINER(window), map);
    gtk_widget_show(map);
    return G_SOURCE_REMOVE;
}

static int compare(const void *a, const void *b) {
    return (*(const gint64 *)a > *(const gint64 *)b) - (*(const gint64 *)a < *(const gint64 *)b);
}

static gboolean give_up(gpointer unused) {
    (void)unused;
    g_printerr("the view was not complete in time\n");
    exit(1);
}

int main(int count, char **arguments) {
    gtk_init(&count, &arguments);
    if (count != 5) {
        return 2;
    }
    folder = arguments[1];
    left = atoi(arguments[2]);
    top = atoi(arguments[3]);
    runs = atoi(arguments[4]);
    times = g_new0(gint64, runs);
    window = gtk_window_new(GTK_WINDOW_POPUP);
    gtk_window_set_default_size(GTK_WINDOW(window), kWidth, kHeight);
    gtk_widget_show(window);
    g_timeout_add(200, show_next, NULL);
    g_timeout_add_seconds(60, give_up, NULL);
    gtk_main();
    qsort(times, runs, sizeof *times, compare);
    g_print("%" G_GINT64_FORMAT "\n", times[runs / 2]);
    return 0;
}
