#pragma once

#include <map>
#include <string>

/**
 * Translates between the live settings and the web pages, which read and write them as one small XML document, and
 * hands settings to the components that keep their own copy of them. Holds nothing itself.
 *
 * In the document, coordinates are whole percentages of the analysed stream's size (pixels in the record), and the
 * tracker's patience is in seconds (passes in the record); both conversions truncate toward zero.
 *
 * Web thread, but for the two `store_points` operations, which start-up calls on the main thread before there is one.
 * Nothing waits for the analysis and the analysis waits for nothing here.
 */
class parameter_io {
  public:
    /** The live settings as a document: one line, no declaration, texts unescaped as they are stored. */
    static std::string get_parameters();

    /**
     * Applies a posted document value by value, in a fixed order, gives the components their share and saves all of it.
     * 0; -1 when the document does not parse, which changes nothing but the published stream size.
     *
     * Throws (std::exception) at the first value that is no number or has no text: what came before it stays in the
     * live settings, what comes after is not looked at, and nothing is saved. Deliberate: kept as it is.
     */
    static int set_post_parameters(std::string body);

    static std::string get_status_code();
    static std::string get_status_string();
    /** Milliseconds. */
    static std::string get_execution_time();
    /** "1" or "0". */
    static std::string get_is_portrait();
    static std::string status_to_string(int code);
    static std::string CameraResolutionsAsCsv();

    /**
     * The text of each of the root's children by its name, a later one of the same name replacing an earlier; empty,
     * with a line in the log, for a text that is no document or one that declares entities or defaults of attributes.
     * Every child counts, the blanks between two elements too, and one without text throws: the document has to be
     * compact.
     */
    static std::map<std::string, std::string> parseXMLData(std::string xml);

    /**
     * Gives the area of interest its polygon: 4 points, 6 when more than 4 are in use, 8 when exactly 8 are. The user
     * draws shapes of these three kinds only; any other count is rounded down to one, more than 8 to 6.
     */
    static void store_points_into_AOI();

    /** Gives it the three exclusion zones, 4 points each, those that are switched off too. */
    static void store_points_into_exclusions();
};
